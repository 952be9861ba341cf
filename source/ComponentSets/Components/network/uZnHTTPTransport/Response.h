#pragma once

#include <memory>
#include <string>

#include "uZnHTTPTransport/Binding.h"
#include "uZnHTTPTransport/Client.h"
#include "uZnHTTPTransport/ComponentLink.h"
#include "uZnHTTPTransport/ShownURL.h"

namespace Zn
{

/// A response whose head is in. A transport adds CheckError.
class TransportResponse : public TObject, public virtual IZnHTTPResponse
{
public:
    TransportResponse(const TransportResponse&) = delete;
    TransportResponse& operator=(const TransportResponse&) = delete;

    TZnHTTPStatus GetStatus() override { return FStatus; }
    TZnHTTPHeaderList& GetResponseHeaders() override;
    std::string GetHeader(const std::string& AName) override;
    std::string GetCookie(const std::string& AName) override;
    void GetResponseData(TStream& AResponse) override;
    std::string GetResponse() override;

    /// Calls AWork(value) for each cookie that the response sets.
    template <class TWork>
    void ForEachCookie(TWork AWork)
    {
        constexpr std::string_view cName = "Set-Cookie";
        if (!FHeadersSplit && FHead.find(cName) == std::string::npos)
            return;
        const TZnHTTPHeaderList& Headers = GetResponseHeaders();
        for (int Index = 0; Index < Headers.Count(); ++Index) {
            if (Headers.NameView(Index) == cName)
                AWork(Headers.ValueView(Index));
        }
    }

protected:
    TransportResponse(const FunctionBinding& ABinding,
                      std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> AHTTPClient,
                      std::shared_ptr<IZnHTTPRequestEx> ARequest,
                      std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus);

    void* Handle() const { return FRequestHandle->GetHandle(true); }
    void CloseHandle() { FRequestHandle->CloseHandle(); }
    /// For the text of an error.
    std::string ShownURL() const { return Zn::ShownURL(FRequest->GetURL()); }
    const TZnHTTPStatus& Status() const { return FStatus; }
    std::string QueryText(std::uint32_t ALevel, std::string_view AName) const;

private:
    template <class TWork>
    auto UnlessClosed(TWork AWork) const;
    std::uint64_t TotalLength(std::uint32_t AAvailable);
    bool ReadBody(TStream& AResponse);
    void Inflate(TStream& AResponse, std::int64_t AStart) const;

    const FunctionBinding& FBinding;
    std::shared_ptr<IZnHTTPRequestEx> FRequest;
    std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> FHTTPClient;
    std::shared_ptr<IZnHTTPRequestHandle> FRequestHandle;
    TZnHTTPStatus FStatus;
    std::string FHead;
    TZnHTTPHeaderList FResponseHeaders; // FHead's lines, once somebody asked for them
    bool FHeadersSplit = false;
    std::unique_ptr<TZnStringStream> FResponseData;
    std::int64_t FMaxInflatedSize;
};

} // namespace Zn
