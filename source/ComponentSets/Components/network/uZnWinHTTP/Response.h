#pragma once

#include <memory>

#include "uZnHTTPTransport/Response.h"
#include "uZnWinHTTP/Request.h"

namespace Zn
{

/// A response whose head is in. Closes the request's handle when it goes.
class WinHTTPResponse final : public TransportResponse
{
public:
    WinHTTPResponse(std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> AHTTPClient,
                    const std::shared_ptr<WinHTTPRequest>& ARequest,
                    std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus);
    ~WinHTTPResponse() override { CloseHandle(); }
    WinHTTPResponse(const WinHTTPResponse&) = delete;
    WinHTTPResponse& operator=(const WinHTTPResponse&) = delete;

    void CheckError() override;

private:
    bool BreaksConnectionLogon() const;

    WinHTTPRequest& FRequest; // kept by the base
};

} // namespace Zn
