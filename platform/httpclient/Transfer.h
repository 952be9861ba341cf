#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <curl/curl.h>

#include "platform/httpclient/OutgoingBody.h"
#include "platform/httpclient/ResponseHead.h"
#include "platform/httpclient/Sockets.h"
#include "platform/httpclient/Tls.h"
#include "platform/httpclient/Url.h"

namespace Zn::HttpClient
{

/// Milliseconds; 0 and 0xFFFFFFFF are for ever.
struct Patience
{
    std::uint32_t Connect = 60000; // name, TCP, proxy and TLS together
    std::uint32_t Send = 30000;    // between two pieces sent
    std::uint32_t Receive = 30000; // between two pieces received
};

/// Name and password for one of the schemes of Challenges.h; 0: none.
struct Login
{
    std::uint32_t Scheme = 0;
    std::string User;
    std::string Password;
    bool AfterChallenge = false; // Basic, too, waits until it is asked for
};

/// What one exchange sends. All of it is borrowed and has to stand until the response is complete or given
/// up; the body until the head is in.
struct TransferPlan
{
    enum class Shape { Plain, Head, WithBody };

    const HttpClient::Url* Url = nullptr;
    std::string_view WholeTarget; // in the place of the URL's path: "*"
    std::string_view Verb;
    Shape Kind = Shape::Plain;
    curl_slist* Fields = nullptr;
    std::string Cookies; // sent beside the engine's own
    OutgoingBody* Body = nullptr;
    bool Version10 = false;
    bool EngineCookies = true;
    bool KeepAlive = true;
    bool Secure = false;
    const Login* Server = nullptr;
    const Login* Proxy = nullptr;
    std::string_view ProxyAddress;
    HttpClient::Patience Patience;
    ResponseHead::Limits Limits{};
};

/// A response as far as it is in.
struct Incoming
{
    ResponseHead Head;
    std::string Body; // what came and wasn't read yet: from Read on
    std::size_t Read = 0;
    std::span<char> Target; // a reader's memory, filled before Body is; borrowed

    std::size_t Available() const { return Body.size() - Read; }
    void Clear();
};

/// One libcurl handle with connections of its own: does one exchange after the other.
///
/// Use:       Begin, WaitForHead, WaitForBody until IsComplete and nothing is available, End.
/// Threads:   one at a time; Wake from any.
/// Errors:    numbers of platform/errors. After one, only End.
class Transfer
{
public:
    /// nullptr without memory. ACookies may be null and has to live longer.
    static std::unique_ptr<Transfer> Create(const TlsPolicy& APolicy, CURLSH* ACookies);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    const TlsPolicy& Policy() const { return FPolicy; }

    /// Nothing goes out yet. ACancelled, together with Wake, ends a wait with 12017.
    std::uint32_t Begin(const TransferPlan& APlan, Incoming& AIncoming, const std::atomic<bool>& ACancelled);
    /// Sends, and waits for the final head.
    std::uint32_t WaitForHead();
    /// Waits until bytes are available or the response is complete.
    std::uint32_t WaitForBody();
    /// Waits until the target of Incoming is filled or the response is complete.
    std::uint32_t FillTarget();
    /// Bytes of the body that are in already and that nobody has taken from the socket yet; 0 where what the
    /// socket holds needn't be the body's.
    std::size_t Waiting() const;
    bool IsComplete() const { return FComplete; }
    /// The server's certificate, as far as this exchange has seen it in a handshake.
    CertificateFacts PeerCertificate() const { return FChecks.PeerCertificate(); }
    /// Of a complete response: 0, or what broke it off.
    std::uint32_t Result() const { return FError; }
    /// Lets go of plan and response; closes the connection where the response isn't complete.
    void End();

    void Wake() { FSockets.Wake(); }

private:
    using Clock = Sockets::Clock;
    enum class Phase { Connecting, Sending, Receiving };

    Transfer(const TlsPolicy& APolicy, CURLSH* ACookies) : FPolicy(APolicy), FCookies(ACookies) {}
    bool Open();
    void SetLastingOptions();
    void SetTlsOptions();
    std::uint32_t SetRequest(const TransferPlan& APlan);
    std::uint32_t SetAddress(const Url& AUrl);
    void SetBody(const TransferPlan& APlan);
    void SetCookies(const TransferPlan& APlan);
    void SetLogins(const TransferPlan& APlan);

    template <class T>
    void Set(CURLoption AOption, T AValue)
    {
        curl_easy_setopt(FEasy, AOption, AValue);
    }
    template <class T>
    T Info(CURLINFO AInfo) const
    {
        T Value{};
        curl_easy_getinfo(FEasy, AInfo, &Value);
        return Value;
    }

    template <class Goal>
    std::uint32_t DriveUntil(Goal AReached);
    void GoOn();
    bool IsTimeUp();
    std::uint32_t Limit() const;
    void TakeResult();
    void Finish(CURLcode AResult);
    std::uint32_t NumberFor(CURLcode AResult) const;
    bool HeadIsIn() const;
    void EvaluateHead();
    std::uint64_t PlainLength() const;
    std::uint64_t Missing() const;
    bool MayGoOn(std::uint32_t AStatus) const;

    std::size_t TakeHeadLine(std::string_view ALine);
    std::size_t TakeBody(const char* AData, std::size_t ASize);
    static std::size_t OnHeader(char* AData, std::size_t ASize, std::size_t ACount, void* ASelf);
    static std::size_t OnBody(char* AData, std::size_t ASize, std::size_t ACount, void* ASelf);
    static std::size_t OnRead(char* ABuffer, std::size_t ASize, std::size_t ACount, void* ASelf);
    static int OnSeek(void* ASelf, curl_off_t AOffset, int AOrigin);
    static int OnConnected(void* ASelf, char*, char*, int, int);
    static CURLcode OnTlsContext(CURL* AEasy, void* AContext, void* ASelf);

    const TlsPolicy FPolicy;
    CURLSH* const FCookies;
    Sockets FSockets;
    CURLM* FMulti = nullptr;
    CURL* FEasy = nullptr;
    CURLU* FAddress = nullptr; // parsed once; of a text libcurl would do that again for each exchange
    TlsChecks FChecks{FPolicy};
    std::array<char, CURL_ERROR_SIZE> FErrorText{};

    // What libcurl was told last: an option costs, so it is told only what changes.
    struct Applied
    {
        HttpClient::Url Url;
        std::string Verb;
        std::string Proxy;
        TransferPlan::Shape Kind = TransferPlan::Shape::Plain;
        bool VerbGiven = false;
        bool Version10 = false;
        bool EngineCookies = false;
        bool Cookies = false;
        bool Login = false;
        bool ProxyLogin = false;
        bool KeepAlive = true;
        bool WholeTarget = false;
        std::uint32_t Connect = 0;
    } FApplied;

    // The exchange.
    const TransferPlan* FPlan = nullptr;
    Incoming* FIncoming = nullptr;
    const std::atomic<bool>* FCancelled = nullptr;
    std::optional<Clock::time_point> FDeadline; // none: for ever
    Phase FPhase = Phase::Connecting;
    bool FActive = false;    // libcurl has it
    bool FMoved = false;     // bytes passed since the deadline was set
    bool FHeadFinal = false; // the head in FIncoming is the answer
    bool FPaused = false;
    bool FComplete = false;
    std::uint64_t FPlainLength = 0; // of a body that comes as it is, without TLS or a coding; 0: another one
    std::uint32_t FError = 0;       // once complete
    std::uint32_t FOwnError = 0;    // why a callback refused
};

} // namespace Zn::HttpClient
