#pragma once

#include <memory>

#include "uZnHTTPTransport/Response.h"

namespace Zn
{

/// A response whose head is in. The request's handle is closed by whoever lets go of it last.
class WinINetResponse final : public TransportResponse
{
public:
    WinINetResponse(std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> AHTTPClient,
                    std::shared_ptr<IZnHTTPRequestEx> ARequest, std::shared_ptr<IZnHTTPRequestHandle> AHandle,
                    TZnHTTPStatus AStatus);

    void CheckError() override;
};

} // namespace Zn
