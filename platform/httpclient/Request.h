#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/errors/Errors.h"
#include "platform/httpclient/Challenges.h"
#include "platform/httpclient/Connection.h"
#include "platform/httpclient/OutgoingBody.h"
#include "platform/httpclient/RequestFields.h"
#include "platform/httpclient/Settings.h"
#include "platform/httpclient/Transfer.h"
#include "platform/httpclient/Url.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

namespace Zn::HttpClient
{

/// One request: what is set before the send, the send with its redirects and answered challenges, the
/// response.
///
/// Use:       ChangeFields, ChangeSettings, SetLogin; Send; ViewHead and Read. Send may be called again.
/// Threads:   any. Calls run one after the other; Cancel doesn't wait, and ends the others with 12017.
/// Errors:    numbers of platform/errors.
class Request final : public KernelObject
{
public:
    struct Line
    {
        std::string Verb; // a token
        std::string Target;
        bool Version10 = false;
        bool Secure = false;
    };

    Request(std::shared_ptr<Connection> AConnection, Line ALine);
    ~Request() override;

    Session& Owner() const { return FConnection->Owner(); }

    /// A further field; both parts have been checked.
    void AddField(std::string_view AName, std::string_view AValue);
    std::uint32_t ChangeFields(std::string_view ALines, const FieldChange& AChange);
    /// AChange takes the settings and gives a number.
    template <class Change>
    std::uint32_t ChangeSettings(Change AChange)
    {
        MutexLock Lock(FLock);
        return FCancelled.load() ? cCancelled : AChange(FSettings);
    }
    std::uint32_t SetBodySource(const BodySource& ASource);
    std::uint32_t SetCertificatePassword(std::string APassword);
    std::uint32_t SetCertificate(std::string ABytes);
    std::uint32_t SetLogin(bool AProxy, Login ALogin);
    /// For whatever scheme a challenge asks for; nothing of it goes out before.
    std::uint32_t SetAccount(bool AProxy, const Account& AAccount);
    /// What the connection has.
    void TakeAccounts();

    /// ALines are added first. AMemory has to stand until the call returns; empty: the body source, if there
    /// is one.
    std::uint32_t Send(std::string_view ALines, std::span<const std::byte> AMemory);

    /// AView takes the head of the response and gives a number. 12019 where there is none.
    template <class View>
    std::uint32_t ViewHead(View AView)
    {
        MutexLock Lock(FLock);
        if (const std::uint32_t Error = ResponseMissing())
            return Error;
        return AView(static_cast<const ResponseHead&>(FIncoming.Head));
    }
    /// What the response, a 401 or 407, asks for. 4317 where it doesn't.
    std::uint32_t Asked(Challenge& AResult, bool& AByProxy);
    /// The request as it goes out, without what answers a challenge and without the engine's cookies.
    std::uint32_t HeadText(std::string& AResult);
    /// 12150 where there is none.
    std::uint32_t FieldValue(std::string_view AName, std::size_t AOccurrence, std::string& AResult);
    /// The URL in use, after redirects.
    std::uint32_t Address(std::string& AResult);

    /// The server's certificate, when the last send has failed and had come so far as to see it.
    CertificateFacts FailedPeer();

    /// Waits for bytes of the body; 0 at its end.
    std::uint32_t WaitForData(std::size_t& AAvailable);
    /// Fewer than ASize only at the end.
    std::uint32_t Read(void* ABuffer, std::size_t ASize, std::size_t& ARead);

    void Cancel();
    void HandleClosed() override { Cancel(); }

private:
    static constexpr std::uint32_t cCancelled = ERROR_WINHTTP_OPERATION_CANCELLED;

    /// The server, or the proxy before it.
    struct Party
    {
        std::vector<Login> Logins; // one a scheme, the newest last
        Challenge Asked;
        const Login* Answer = nullptr; // what the exchange under way carries
        std::uint32_t AnswersLeft = 0;
    };

    Party& PartyOf(bool AProxy) ZN_REQUIRES(FLock) { return AProxy ? FProxy : FServer; }

    std::uint32_t ResponseMissing() const ZN_REQUIRES(FLock);
    std::uint32_t CheckFields() const ZN_REQUIRES(FLock);
    std::uint32_t TakeBody(std::span<const std::byte> AMemory) ZN_REQUIRES(FLock);
    std::uint32_t ExchangeUntilAnswered() ZN_REQUIRES(FLock);
    std::uint32_t Exchange() ZN_REQUIRES(FLock);
    void MakePlan() ZN_REQUIRES(FLock);
    void MakeFieldList() ZN_REQUIRES(FLock);
    void AppendField(const char* ALine) ZN_REQUIRES(FLock);
    std::uint32_t AttachTransfer() ZN_REQUIRES(FLock);
    void DetachTransfer() ZN_REQUIRES(FLock);
    void ReadChallenge() ZN_REQUIRES(FLock);
    bool WasSaid(const Login& ALogin) const ZN_REQUIRES(FLock);
    bool CanAnswer() ZN_REQUIRES(FLock);
    static const Login* Choose(const Party& AParty);
    bool LeadsOn() const ZN_REQUIRES(FLock);
    std::uint32_t Follow() ZN_REQUIRES(FLock);
    std::uint32_t PrepareAgain() ZN_REQUIRES(FLock);
    void Drain() ZN_REQUIRES(FLock);
    std::uint32_t MoreData() ZN_REQUIRES(FLock);
    std::uint32_t Receive(std::span<char> ATarget) ZN_REQUIRES(FLock);
    template <class Work>
    void Drive(Work AWork) ZN_REQUIRES(FLock);
    std::string FormatHead() const ZN_REQUIRES(FLock);
    bool AtHome() const ZN_REQUIRES(FLock) { return FUrl.Origin == FFirst.Origin; }
    bool TakesBody() const ZN_REQUIRES(FLock);

    const std::shared_ptr<Connection> FConnection;
    const Line FLine;
    const Url FFirst; // where the request was opened to
    std::atomic<bool> FCancelled{false};

    Mutex FLock;
    HttpClient::Settings FSettings ZN_GUARDED_BY(FLock);
    RequestFields FFields ZN_GUARDED_BY(FLock);
    BodySource FSource ZN_GUARDED_BY(FLock);
    bool FSourceUsed ZN_GUARDED_BY(FLock) = false;
    std::string FCertificatePassword ZN_GUARDED_BY(FLock);
    Party FServer ZN_GUARDED_BY(FLock);
    Party FProxy ZN_GUARDED_BY(FLock);

    // The exchange under way, or the last one.
    Url FUrl ZN_GUARDED_BY(FLock);
    std::string FVerb ZN_GUARDED_BY(FLock);
    bool FBodyDropped ZN_GUARDED_BY(FLock) = false; // a redirect turned the request into a GET
    OutgoingBody FBody ZN_GUARDED_BY(FLock);
    TransferPlan FPlan ZN_GUARDED_BY(FLock);
    std::vector<curl_slist> FFieldList ZN_GUARDED_BY(FLock);
    std::list<std::string> FEmptyFields ZN_GUARDED_BY(FLock);
    Incoming FIncoming ZN_GUARDED_BY(FLock);
    bool FHasResponse ZN_GUARDED_BY(FLock) = false;
    CertificateFacts FFailedPeer ZN_GUARDED_BY(FLock);
    std::uint32_t FBodyError ZN_GUARDED_BY(FLock) = 0;

    Mutex FWakeLock;                     // after every other lock
    std::unique_ptr<Transfer> FTransfer; // changed under both locks; used under FLock, woken under FWakeLock
};

} // namespace Zn::HttpClient
