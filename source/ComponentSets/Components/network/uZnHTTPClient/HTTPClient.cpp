#include "uZnHTTPClient/HTTPClient.h"

#include "uZnHTTPClient/Transports.h"

TZnHTTPClient::TZnHTTPClient(bool ANTService)
    : FObj(Zn::FindTransport(ANTService).MakeClient()),
      FIntf(Zn::Borrow(&dynamic_cast<IZnHTTPClient&>(*FObj)))
{
}

TZnHTTPClient::~TZnHTTPClient()
{
    FIntf.reset();
    FObj.reset();
}

TZnHTTPMethods TZnHTTPClient::Options(const std::string& AURL, TStream* AOutput)
{
    return FIntf->Options(AURL, AOutput);
}

std::shared_ptr<IZnHTTPRequestEx> TZnHTTPClient::PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                                const std::string& AURL,
                                                                const AnsiString& ABody,
                                                                const std::string& ABodyContentType)
{
    return FIntf->PrepareRequest(AHTTPMethod, AURL, ABody, ABodyContentType);
}

std::shared_ptr<IZnHTTPRequestEx> TZnHTTPClient::PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                                const std::string& AURL, TStream* ABody,
                                                                const std::string& ABodyContentType)
{
    return FIntf->PrepareRequest(AHTTPMethod, AURL, ABody, ABodyContentType);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClient::Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                        TStream* ABody, const std::string& ABodyContentType,
                                                        bool ARaiseError)
{
    return FIntf->Request(AHTTPMethod, AURL, ABody, ABodyContentType, ARaiseError);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClient::Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                        const AnsiString& ABody,
                                                        const std::string& ABodyContentType, bool ARaiseError)
{
    return FIntf->Request(AHTTPMethod, AURL, ABody, ABodyContentType, ARaiseError);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClient::Request(TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                        bool ARaiseError)
{
    return FIntf->Request(AHTTPMethod, AURL, ARaiseError);
}
