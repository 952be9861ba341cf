#pragma once

#include <memory>
#include <string>

#include "uZnHTTPTransport/Request.h"
#include "uZnWinINet/Client.h"

namespace Zn
{

/// How often a request is sent, at most, because the user says so.
inline constexpr int cWinINetMaxPasses = 16;

/// One request of a TZnWinINetClient: passes until one of them brings a response, or raises.
/// Threads, ownership: as TransportRequest.
class WinINetRequest final : public TransportRequest
{
public:
    WinINetRequest(TZnWinINetClient& AHTTPClient, TZnHTTPTransportSession& ASession, TZnHTTPMethod AMethod,
                   const std::string& AURL, TStream* ABody, std::unique_ptr<TStream> AOwnBody,
                   const std::string& ABodyContentType);

protected:
    std::shared_ptr<IZnHTTPResponse> Exchange() override;
    void* OpenConnection(void* ASession, const TZnHTTPTimeOuts& ATimeOuts) override;
    void* OpenRequest(void* AConnection) override;
    std::shared_ptr<TransportResponse> MakeResponse() override;

private:
    // Opening it (Request.cpp)
    std::uint32_t Flags() const;
    void SetProxyCredentials(void* AConnection) const;

    // One pass (Exchange.cpp), in this order
    void Pass();
    void AddFields();
    void ApplySecurityFlags();
    void Authorize();
    void LoadBody();
    std::uint32_t Send();
    void AnswerFailure(std::uint32_t ACode);
    void AnswerCertificateDemand();
    void AskAboutLogon();

    // Asking (ErrorDialog.cpp)
    void AskAboutFailure(std::uint32_t ACode);
    void Forgive(std::uint32_t ACode, bool AAllowContinue);
    /// The dialog's result, but for those that end the request.
    std::uint32_t Ask(HWND AParent, std::uint32_t ACode, bool AAllowContinue);

    void Check(std::uint32_t ACode) const;
    TZnWinINetClient& OwnClient() const { return static_cast<TZnWinINetClient&>(Client()); }

    bool FDisableCache;
    HWND FErrorDlgParent;
    bool FBodyLoaded = false;
    bool FRetry = false;
    std::uint32_t FLastError = 0; // the last one that was forgiven without a question
};

} // namespace Zn
