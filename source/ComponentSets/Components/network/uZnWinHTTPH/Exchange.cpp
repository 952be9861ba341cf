#include "platform/errors/Errors.h"
#include "uZnHTTPTransport/PlatformText.h"
#include "uZnWinHTTPH/Functions.h"

std::uint32_t WinHttpSendRequest(HINTERNET AHandle, std::uint64_t ATotalLength, const void* AOptional,
                                 std::uint64_t AOptionalLength, std::string_view AHeaders,
                                 std::uintptr_t AContext, bool ARaiseError)
{
    const auto SendRequest = *Zn::WinHttp.SendRequest;
    const Zn::PlatformText Headers(AHeaders);
    std::uint32_t Code = NO_ERROR;
    for (int Resends = 0;; ++Resends) {
        const bool Sent = SendRequest(AHandle, Headers.OrNull(), Headers.Length(), AOptional, AOptionalLength,
                                      ATotalLength, AContext);
        Code = Sent ? NO_ERROR : GetLastError();
        if (Code != ERROR_WINHTTP_RESEND_REQUEST || Resends == cWinHttpMaxResends)
            break;
    }
    if (ARaiseError)
        WinHttpCheckError("WinHttpSendRequest", Code, "");
    return Code;
}

bool WinHttpReceiveResponse(HINTERNET AHandle, bool ARaiseError)
{
    const bool Received = (*Zn::WinHttp.ReceiveResponse)(AHandle, nullptr);
    if (!Received && ARaiseError)
        WinHttpCheckError("WinHttpReceiveResponse", "");
    return Received;
}

std::uint32_t WinHttpQueryDataAvailable(HINTERNET AHandle)
{
    std::uint32_t Available = 0;
    if (!(*Zn::WinHttp.QueryDataAvailable)(AHandle, &Available))
        WinHttpCheckError("WinHttpQueryDataAvailable", "");
    return Available;
}

std::uint32_t WinHttpReadData(HINTERNET AHandle, void* ABuffer, std::uint32_t ASize, bool AAsync)
{
    std::uint32_t Count = 0;
    if (!(*Zn::WinHttp.ReadData)(AHandle, ABuffer, ASize, AAsync ? nullptr : &Count))
        WinHttpCheckError("WinHttpReadData", "");
    return Count;
}

void WinHttpQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize)
{
    if (!(*Zn::WinHttp.QueryOption)(AHandle, AOption, ABuffer, &ASize))
        WinHttpCheckError("WinHttpQueryOption", "");
}

void WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, std::span<const std::byte> ABuffer)
{
    if (!(*Zn::WinHttp.SetOption)(AHandle, AOption, ABuffer.data(),
                                  static_cast<std::uint32_t>(ABuffer.size())))
        WinHttpCheckError("WinHttpSetOption", "");
}

void WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, std::uint32_t AValue)
{
    WinHttpSetOption(AHandle, AOption, std::as_bytes(std::span(&AValue, 1)));
}
