#pragma once

#include <memory>
#include <string>
#include <vector>

#include "uZnWinHTTP/Client.h"
#include "uZnWinHTTP/Request.h"

namespace Zn
{

/// A response whose head is in. Closes the request's handle when it goes.
class TZnHTTPResponse final : public TObject, public virtual IZnHTTPResponse
{
public:
    TZnHTTPResponse(std::shared_ptr<ComponentLink<TZnWinHTTPClient>> AHTTPClient,
                    std::shared_ptr<IZnHTTPRequestEx1> ARequest,
                    std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus);
    ~TZnHTTPResponse() override;
    TZnHTTPResponse(const TZnHTTPResponse&) = delete;
    TZnHTTPResponse& operator=(const TZnHTTPResponse&) = delete;

    TZnHTTPStatus GetStatus() override { return FStatus; }
    TZnHTTPHeaderList& GetResponseHeaders() override { return FResponseHeaders; }
    std::string GetHeader(const std::string& AName) override;
    std::string GetCookie(const std::string& AName) override;
    void GetResponseData(TStream& AResponse) override;
    std::string GetResponse() override;
    void CheckError() override;

private:
    std::uint64_t TotalLength(std::uint32_t AAvailable);
    bool ReadBody(TStream& AResponse);
    void Inflate(TStream& AResponse, std::int64_t AStart) const;
    bool BreaksConnectionLogon() const;
    void* Handle() const { return FRequestHandle->GetHandle(true); }
    template <class TWork>
    auto UnlessClosed(TWork AWork) const;

    std::shared_ptr<IZnHTTPRequestEx1> FRequest;
    std::shared_ptr<ComponentLink<TZnWinHTTPClient>> FHTTPClient;
    std::shared_ptr<IZnHTTPRequestHandle> FRequestHandle;
    TZnHTTPStatus FStatus;
    TZnHTTPHeaderList FResponseHeaders;
    std::unique_ptr<TZnStringStream> FResponseData;
    std::int64_t FMaxInflatedSize;
};

} // namespace Zn
