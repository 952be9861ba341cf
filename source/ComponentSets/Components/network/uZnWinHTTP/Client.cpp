#include "uZnWinHTTP/Client.h"

#include <utility>

#include "uZnWinHTTP/Request.h"

TZnHTTPTransportSession* TZnWinHTTPClient::SessionFrom(TObject* ASession)
{
    auto* const Session = dynamic_cast<TZnWinHTTPSession*>(ASession);
    if (Session == nullptr)
        throw EZnWinHTTPInvalidArgument("The session of a TZnWinHTTPClient must be a TZnWinHTTPSession!");
    return Session;
}

std::shared_ptr<IZnHTTPRequestEx> TZnWinHTTPClient::MakeRequest(TZnHTTPTransportSession& ASession,
                                                                TZnHTTPMethod AHTTPMethod,
                                                                const std::string& AURL, TStream* ABody,
                                                                std::unique_ptr<TStream> AOwnBody,
                                                                const std::string& ABodyContentType)
{
    return std::make_shared<Zn::WinHTTPRequest>(*this, ASession, AHTTPMethod, AURL, ABody,
                                                std::move(AOwnBody), ABodyContentType);
}
