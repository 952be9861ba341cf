// The steps that the exchanges of both transports have.

#include <span>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPTransport/Request.h"
#include "uZnHTTPTransport/Response.h"

namespace Zn
{

std::shared_ptr<IZnHTTPResponse> TransportRequest::SendRequest()
{
    FCancelled = false;
    try {
        return Exchange();
    } catch (const EZnHTTPApiException&) {
        FCloseConnection = true;
        RaiseIfClosed();
        throw;
    } catch (...) {
        FCloseConnection = true;
        throw;
    }
}

/// A handle that somebody closed between two calls is refused by its number. That is a cancelled operation as
/// well as one that is closed during a call.
void TransportRequest::RaiseIfClosed()
{
    const bool Closed = FRequestHandle ? FRequestHandle->GetHandle(false) == nullptr
                                       : FConnection->GetConnection() == nullptr;
    if (Closed)
        throw EAbort(FBinding.ErrorText(ERROR_WINHTTP_OPERATION_CANCELLED));
}

void* TransportRequest::ConnectionHandle() const
{
    void* const Connection = FConnection->GetConnection();
    if (Connection == nullptr)
        throw EAbort("The session has been closed!");
    return Connection;
}

void TransportRequest::OpenHandle()
{
    if (FRequestHandle)
        DropHandle(); // of an earlier send
    auto Registered = Session().AddRequest(OpenRequest(ConnectionHandle()));
    if (!Registered)
        throw EAbort("The session has been closed!");
    {
        const std::lock_guard Guard(FHandleLock);
        FRequestHandle = std::move(Registered);
    }
    if (FCancelled)
        CancelRequest();
}

void TransportRequest::SetOption(std::uint32_t AOption, std::uint32_t AValue) const
{
    FBinding.SetOption(Handle(), AOption, std::as_bytes(std::span(&AValue, 1)));
}

void TransportRequest::ApplyTimeOuts(std::uint32_t ASendOption, std::uint32_t AReceiveOption)
{
    const TZnHTTPTimeOuts& TimeOuts = Client().GetTimeOuts();
    SetOption(ASendOption, static_cast<std::uint32_t>(TimeOuts.GetSendTimeOut()));
    SetOption(AReceiveOption, static_cast<std::uint32_t>(TimeOuts.GetReceiveTimeOut()));
}

void TransportRequest::AddCustomHeaders()
{
    for (const TZnHTTPHeader& Each : FCustomHeaders)
        AddHeader(Each.Name, Each.Value);
}

void TransportRequest::AddStoredCookies()
{
    if (FCookieHandling != chManual)
        return;
    FBinding.RemoveField(Handle(), "Cookie");
    Session().GetCookies().GetCookies(
        URLData(), [this](const std::string& AName, const std::string& AValue) { AddCookie(AName, AValue); });
    for (const TZnHTTPHeader& Each : FCustomCookies)
        AddCookie(Each.Name, Each.Value);
}

void TransportRequest::OfferClientCertificate(std::uint32_t AOption)
{
    const TZnHTTPOnGetClientCertificate GetCertificate = Client().GetOnGetClientCertificate();
    if (!GetCertificate)
        return;
    if (const std::string& Password = Client().GetClientCertificatePassword(); !Password.empty()) {
        const std::u16string Text = Utf16FromUtf8(Password);
        FBinding.SetOption(Handle(), ZN_OPTION_CLIENT_CERT_PASSWORD, std::as_bytes(std::span(Text)));
    }
    GetCertificate([this, AOption](const void* ACertContext, std::uint32_t ACertContextSize) {
        FBinding.SetOption(Handle(), AOption,
                           std::span(static_cast<const std::byte*>(ACertContext), ACertContextSize));
    });
}

void TransportRequest::ReadStatus()
{
    const std::string Code = FBinding.QueryText(Handle(), WINHTTP_QUERY_STATUS_CODE, {});
    const auto Number = ZnParseInt<std::uint16_t>(Code);
    if (!Number)
        throw EConvertError("'" + Code + "' is not a valid integer value");
    FStatus.StatusCode = *Number;
    FStatus.StatusMsg = FBinding.QueryText(Handle(), WINHTTP_QUERY_STATUS_TEXT, {});
}

std::shared_ptr<IZnHTTPResponse> TransportRequest::TakeResponse()
{
    const auto Response = MakeResponse();
    Response->ForEachCookie(
        [this](std::string_view AValue) { Session().GetCookies().Add(URLData(), AValue); });
    Client().DoOnResponse(Response);
    return Response;
}

} // namespace Zn
