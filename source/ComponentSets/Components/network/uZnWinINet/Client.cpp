#include "uZnWinINet/Client.h"

#include <utility>

#include "uZnWinINet/Request.h"

void TZnWinINetClient::SetSecurityFlags(TZnHTTPSecurityFlags AValue)
{
    TZnHTTPTransportClient::SetSecurityFlags(AValue - TZnHTTPSecurityFlags{sfIgnoreWrongUsage});
}

void TZnWinINetClient::SetAuthentication(TZnHTTPAuthentication AValue)
{
    switch (AValue) {
    case authBasic:
    case authDigest:
    case authNTLM:
    case authOAuth2:
        TZnHTTPTransportClient::SetAuthentication(AValue);
        return;
    default:
        TZnHTTPTransportClient::SetAuthentication(authNone);
    }
}

void TZnWinINetClient::DoOnError(TObject* ASender, std::uint32_t AErrorCode, HWND& AParent,
                                 bool& AAllowContinue)
{
    if (FOnError)
        FOnError(ASender, AErrorCode, AParent, AAllowContinue);
}

TZnHTTPTransportSession* TZnWinINetClient::SessionFrom(TObject* ASession)
{
    auto* const Session = dynamic_cast<TZnWinINetSession*>(ASession);
    if (Session == nullptr)
        throw EZnWinINetInvalidArgument("The session of a TZnWinINetClient must be a TZnWinINetSession!");
    return Session;
}

std::shared_ptr<IZnHTTPRequestEx> TZnWinINetClient::MakeRequest(TZnHTTPTransportSession& ASession,
                                                                TZnHTTPMethod AHTTPMethod,
                                                                const std::string& AURL, TStream* ABody,
                                                                std::unique_ptr<TStream> AOwnBody,
                                                                const std::string& ABodyContentType)
{
    return std::make_shared<Zn::WinINetRequest>(*this, ASession, AHTTPMethod, AURL, ABody,
                                                std::move(AOwnBody), ABodyContentType);
}
