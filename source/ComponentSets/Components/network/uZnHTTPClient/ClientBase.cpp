#include "uZnHTTPClient/ClientBase.h"

#include <span>
#include <utility>

TZnHTTPOnGetOAuthAuthorizeForm ZnOnGetOAuthAuthorizeForm;

TZnHTTPClientBase::TZnHTTPClientBase(TComponent* AOwner) : TComponent(AOwner) {}

TZnHTTPClientBase::~TZnHTTPClientBase() = default;

void TZnHTTPClientBase::SetCredentials(const TZnCredentials* AValue)
{
    if (AValue != nullptr)
        FCredentials.Assign(AValue);
}

void TZnHTTPClientBase::SetProxyCredentials(const TZnCredentials* AValue)
{
    if (AValue != nullptr)
        FProxyCredentials.Assign(AValue);
}

void TZnHTTPClientBase::SetOAuth(const TZnOAuth* AValue)
{
    if (AValue != nullptr)
        FOAuth.Assign(AValue);
}

const TZnHTTPOnGetOAuthAuthorizeForm& TZnHTTPClientBase::GetOnGetOAuthAuthorizeForm()
{
    return ZnOnGetOAuthAuthorizeForm;
}

void TZnHTTPClientBase::SetOnGetOAuthAuthorizeForm(TZnHTTPOnGetOAuthAuthorizeForm AValue)
{
    ZnOnGetOAuthAuthorizeForm = std::move(AValue);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClientBase::Request(TZnHTTPMethod AHTTPMethod,
                                                            const std::string& AURL, TStream* ABody,
                                                            const std::string& ABodyContentType,
                                                            bool ARaiseError)
{
    const auto Response = PrepareRequest(AHTTPMethod, AURL, ABody, ABodyContentType)->SendRequest();
    if (ARaiseError)
        Response->CheckError();
    return Response;
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClientBase::Request(TZnHTTPMethod AHTTPMethod,
                                                            const std::string& AURL, const AnsiString& ABody,
                                                            const std::string& ABodyContentType,
                                                            bool ARaiseError)
{
    return RequestWithBytes(AHTTPMethod, AURL, ABody, ABodyContentType, ARaiseError);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClientBase::Request(TZnHTTPMethod AHTTPMethod,
                                                            const std::string& AURL, const std::string& ABody,
                                                            const std::string& ABodyContentType,
                                                            bool ARaiseError)
{
    return RequestWithBytes(AHTTPMethod, AURL, ABody, ABodyContentType, ARaiseError);
}

/// Text is UTF-8, so both kinds are bytes here. They are lent, not copied: the send is over on return.
std::shared_ptr<IZnHTTPResponse> TZnHTTPClientBase::RequestWithBytes(TZnHTTPMethod AHTTPMethod,
                                                                     const std::string& AURL,
                                                                     std::string_view ABody,
                                                                     const std::string& ABodyContentType,
                                                                     bool ARaiseError)
{
    TZnMemoryStream Body(std::as_bytes(std::span(ABody)));
    return Request(AHTTPMethod, AURL, &Body, ABodyContentType, ARaiseError);
}

std::shared_ptr<IZnHTTPResponse> TZnHTTPClientBase::Request(TZnHTTPMethod AHTTPMethod,
                                                            const std::string& AURL, bool ARaiseError)
{
    return Request(AHTTPMethod, AURL, static_cast<TStream*>(nullptr), {}, ARaiseError);
}

void TZnHTTPClientBase::DoProgress(TStream* AData, std::uint64_t ABytesRead, std::uint64_t ATotalBytes)
{
    if (FOnProgress)
        FOnProgress(this, AData, static_cast<std::int64_t>(ABytesRead),
                    static_cast<std::int64_t>(ATotalBytes));
}

void TZnHTTPClientBase::DoOnRequest(const std::shared_ptr<IZnHTTPRequest>& ARequest)
{
    if (FOnRequest)
        FOnRequest(this, ARequest);
}

void TZnHTTPClientBase::DoOnRequestError(const std::shared_ptr<IZnHTTPRequest>& ARequest,
                                         std::uint32_t AErrorCode)
{
    if (FOnRequestError)
        FOnRequestError(this, ARequest, AErrorCode);
}

void TZnHTTPClientBase::DoOnResponse(const std::shared_ptr<IZnHTTPResponse>& AResponse)
{
    if (FOnResponse)
        FOnResponse(this, AResponse);
}
