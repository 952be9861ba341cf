#include "uZnWinINetH/ErrorDialog.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <mutex>
#include <span>
#include <utility>

#include "platform/errors/Errors.h"
#include "uZnWinINetH/Library.h"

namespace
{

std::mutex RegistrationLock; // one thread registers
TZnOnInternetError Dialog;   // changed only while the library has no dialog
thread_local std::exception_ptr Raised;

constexpr std::array<std::uint32_t, 4> cResults{NO_ERROR, ERROR_WINHTTP_RESEND_REQUEST, ERROR_CANCELLED,
                                                ERROR_INVALID_HANDLE};
constexpr std::size_t cFingerprintLength = 32;

std::string HexPairs(std::span<const std::uint8_t> ABytes)
{
    constexpr const char* cDigits = "0123456789ABCDEF";
    std::string Result;
    for (const std::uint8_t Each : ABytes) {
        if (!Result.empty())
            Result += ':';
        Result += cDigits[Each >> 4];
        Result += cDigits[Each & 15];
    }
    return Result;
}

TZnInternetError ErrorFrom(const TZnInternetErrorQuestion& AQuestion)
{
    TZnInternetError Result{AQuestion.Parent,
                            AQuestion.Error,
                            (AQuestion.Flags & FLAGS_ERROR_UI_FLAGS_CHANGE_OPTIONS) != 0,
                            AQuestion.Url,
                            std::nullopt,
                            {},
                            {}};
    if (AQuestion.Subject == nullptr)
        return Result;
    Result.Certificate = {AQuestion.Subject, AQuestion.Issuer,
                          std::chrono::sys_seconds(std::chrono::seconds(AQuestion.NotBefore)),
                          std::chrono::sys_seconds(std::chrono::seconds(AQuestion.NotAfter)),
                          HexPairs(std::span(AQuestion.Fingerprint, cFingerprintLength))};
    return Result;
}

template <std::size_t Length>
void Put(std::string& AText, char (&AField)[Length])
{
    std::memcpy(AField, AText.data(), std::min(AText.size(), Length - 1));
    std::ranges::fill(AText, '\0');
}

/// Called by the library, which knows no exceptions.
std::uint32_t OnQuestion(void* /*AContext*/, TZnInternetErrorQuestion& AQuestion)
{
    try {
        TZnInternetError Error = ErrorFrom(AQuestion);
        const TZnInternetErrorAnswer Answer = Dialog(Error);
        Put(Error.UserName, AQuestion.UserName);
        Put(Error.Password, AQuestion.Password);
        return cResults[std::min<std::size_t>(Answer, cResults.size() - 1)];
    } catch (...) {
        Raised = std::current_exception();
        return ERROR_CANCELLED;
    }
}

} // namespace

void ZnSetInternetErrorDialog(TZnOnInternetError ADialog)
{
    const auto Register = *Zn::WinINet.SetErrorDialog;
    const std::lock_guard Guard(RegistrationLock);
    Register(nullptr, nullptr);
    Dialog = std::move(ADialog);
    if (Dialog)
        Register(&OnQuestion, nullptr);
}

std::uint32_t Zn::AskUser(HWND AParent, HINTERNET ARequest, std::uint32_t AError, std::uint32_t AFlags)
{
    void* Data = nullptr;
    const std::uint32_t Result = (*WinINet.ErrorDlg)(AParent, ARequest, AError, AFlags, &Data);
    if (Raised)
        std::rethrow_exception(std::exchange(Raised, nullptr));
    return Result;
}
