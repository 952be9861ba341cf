// Who asks the user: the registration, and InternetErrorDlg.

#include "platform/wininet/ErrorDialog.h"

#include <cstring>
#include <mutex>
#include <shared_mutex>

#include <openssl/crypto.h>

#include "platform/errors/Errors.h"
#include "platform/winhttp/Calls.h"

using namespace Zn;
using HttpClient::CertificateFacts;
using HttpClient::Request;

namespace
{

std::shared_mutex DialogLock; // shared while a dialog runs
TZnInternetErrorDialog Dialog = nullptr;
void* DialogContext = nullptr;

std::string WithoutControls(std::string AText)
{
    for (char& Each : AText)
        if (static_cast<unsigned char>(Each) < ' ' || Each == '\x7F')
            Each = ' ';
    return AText;
}

std::string TextIn(const char (&AField)[256])
{
    return {AField, strnlen(AField, sizeof AField)};
}

/// The name and password that the dialog brought, for the party that has asked.
void TakeAnswer(Request& ARequest, TZnInternetErrorQuestion& AQuestion)
{
    HttpClient::Account Answer{TextIn(AQuestion.UserName), TextIn(AQuestion.Password)};
    OPENSSL_cleanse(AQuestion.Password, sizeof AQuestion.Password);
    if (Answer.IsEmpty())
        return;
    std::uint32_t Status = 0;
    ARequest.ViewHead([&](const HttpClient::ResponseHead& AHead) {
        Status = AHead.Status();
        return NO_ERROR + 0U;
    });
    ARequest.SetAccount(Status == 407, Answer);
    OPENSSL_cleanse(Answer.Password.data(), Answer.Password.size());
}

std::uint32_t AskAbout(Request& ARequest, HWND AParent, std::uint32_t AError, std::uint32_t AFlags)
{
    std::string Url;
    ARequest.Address(Url);
    Url = WithoutControls(std::move(Url));
    const CertificateFacts Peer = ARequest.FailedPeer();
    TZnInternetErrorQuestion Question{};
    Question.Parent = AParent;
    Question.Error = AError;
    Question.Flags = AFlags;
    Question.Url = Url.c_str();
    if (Peer.Known) {
        Question.Subject = Peer.Subject.c_str();
        Question.Issuer = Peer.Issuer.c_str();
        Question.Fingerprint = Peer.Fingerprint.data();
        Question.NotBefore = Peer.NotBefore;
        Question.NotAfter = Peer.NotAfter;
    }
    const std::uint32_t Answer = Wininet::AskUser(Question);
    if (Answer == ERROR_WINHTTP_RESEND_REQUEST)
        TakeAnswer(ARequest, Question);
    return Answer;
}

} // namespace

std::uint32_t Wininet::AskUser(TZnInternetErrorQuestion& AQuestion)
{
    const std::shared_lock Guard(DialogLock);
    return Dialog == nullptr ? ERROR_CANCELLED : Dialog(DialogContext, AQuestion);
}

void ZnInternetSetErrorDialog(TZnInternetErrorDialog ADialog, void* AContext)
{
    const std::unique_lock Guard(DialogLock);
    Dialog = ADialog;
    DialogContext = AContext;
}

std::uint32_t InternetErrorDlg(HWND AParent, HINTERNET ARequest, std::uint32_t AError, std::uint32_t AFlags,
                               void** /*ADataToReturn*/)
{
    std::uint32_t Answer = ERROR_CANCELLED;
    const std::uint32_t Failure = Guarded([&]() -> std::uint32_t {
        const std::shared_ptr<KernelObject> Object = LookupHandle(Winhttp::NumberOf(ARequest));
        auto* Asking = Winhttp::As<Request>(Object);
        if (Asking == nullptr)
            return ERROR_INVALID_HANDLE;
        if (AParent != nullptr)
            Answer = AskAbout(*Asking, AParent, AError, AFlags);
        return NO_ERROR;
    });
    return Failure == NO_ERROR ? Answer : Failure;
}
