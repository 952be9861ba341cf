#include "platform/httpclient/Transfer.h"

#include <algorithm>
#include <charconv>

#include "platform/errors/Errors.h"
#include "platform/httpclient/Challenges.h"

namespace Zn::HttpClient
{

namespace
{

constexpr std::size_t cReceiveSize = 16 * 1024;   // what libcurl reads at once; more only leaves the caches
constexpr std::size_t cEnough = 4 * cReceiveSize; // of a body, to be read before libcurl goes on
constexpr std::size_t cMaxWaiting = 256 * 1024;   // to be told at once; readers make buffers of that
constexpr std::size_t cMaxInOnePiece = 60 * 1024; // a body that leaves together with the head
constexpr long cUploadSize = 128 * 1024;
constexpr long cKeptConnections = 4; // of one transfer: redirects may lead to other hosts

bool IsForEver(std::uint32_t AMilliseconds)
{
    return AMilliseconds == 0 || AMilliseconds >= 0x7FFFFFFF;
}

unsigned long CurlAuth(std::uint32_t AScheme)
{
    switch (AScheme) {
    case Ntlm:
        return CURLAUTH_NTLM;
    case Digest:
        return CURLAUTH_DIGEST;
    case Negotiate:
        return CURLAUTH_NEGOTIATE;
    default:
        return CURLAUTH_BASIC;
    }
}

/// Such a body leaves together with the head; of the others libcurl asks piece by piece.
bool GoesInOnePiece(const OutgoingBody& ABody)
{
    return ABody.IsInMemory() && ABody.Length() <= cMaxInOnePiece;
}

/// libcurl's own verbs need no text beside them.
bool IsOwnVerb(const TransferPlan& APlan)
{
    switch (APlan.Kind) {
    case TransferPlan::Shape::Plain:
        return APlan.Verb == "GET";
    case TransferPlan::Shape::Head:
        return true;
    case TransferPlan::Shape::WithBody:
        return APlan.Verb == "POST";
    }
    return false;
}

} // namespace

void Incoming::Clear()
{
    Head.Clear();
    Body.clear();
    Read = 0;
    Target = {};
}

std::unique_ptr<Transfer> Transfer::Create(const TlsPolicy& APolicy, CURLSH* ACookies)
{
    static const CURLcode Initialized = curl_global_init(CURL_GLOBAL_DEFAULT);
    std::unique_ptr<Transfer> Result(new Transfer(APolicy, ACookies));
    if (Initialized != CURLE_OK || !Result->Open())
        return nullptr;
    return Result;
}

bool Transfer::Open()
{
    FMulti = curl_multi_init();
    FEasy = curl_easy_init();
    FAddress = curl_url();
    if (FMulti == nullptr || FEasy == nullptr || FAddress == nullptr || !FSockets.IsGood())
        return false;
    FSockets.Attach(FMulti);
    SetLastingOptions();
    SetTlsOptions();
    return true;
}

Transfer::~Transfer()
{
    End();
    if (FEasy != nullptr)
        curl_easy_cleanup(FEasy);
    if (FMulti != nullptr)
        curl_multi_cleanup(FMulti);
    curl_url_cleanup(FAddress);
}

void Transfer::SetLastingOptions()
{
    curl_multi_setopt(FMulti, CURLMOPT_MAXCONNECTS, cKeptConnections);
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_QUICK_EXIT, 1L); // a cancelled request doesn't wait for a name server
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_CURLU, FAddress);
    Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    Set(CURLOPT_PROXY, "");
    Set(CURLOPT_NOPROXY, ""); // the rules are ProxyRules', not the environment's
    Set(CURLOPT_BUFFERSIZE, static_cast<long>(cReceiveSize));
    Set(CURLOPT_UPLOAD_BUFFERSIZE, cUploadSize);
    Set(CURLOPT_ERRORBUFFER, FErrorText.data());
    Set(CURLOPT_HEADERFUNCTION, OnHeader);
    Set(CURLOPT_HEADERDATA, this);
    Set(CURLOPT_WRITEFUNCTION, OnBody);
    Set(CURLOPT_WRITEDATA, this);
    Set(CURLOPT_READFUNCTION, OnRead);
    Set(CURLOPT_READDATA, this);
    Set(CURLOPT_SEEKFUNCTION, OnSeek);
    Set(CURLOPT_SEEKDATA, this);
    Set(CURLOPT_PREREQFUNCTION, OnConnected);
    Set(CURLOPT_PREREQDATA, this);
}

void Transfer::SetTlsOptions()
{
    const bool Only12 = (FPolicy.Versions & (Tls12 | Tls13)) == Tls12;
    const bool Only13 = (FPolicy.Versions & (Tls12 | Tls13)) == Tls13;
    Set(CURLOPT_SSLVERSION,
        static_cast<long>(Only13 ? CURL_SSLVERSION_TLSv1_3 : CURL_SSLVERSION_TLSv1_2) |
            static_cast<long>(Only12 ? CURL_SSLVERSION_MAX_TLSv1_2 : CURL_SSLVERSION_MAX_DEFAULT));
    Set(CURLOPT_SSL_CTX_FUNCTION, OnTlsContext);
    Set(CURLOPT_SSL_CTX_DATA, this);
    Set(CURLOPT_SSL_VERIFYHOST, (FPolicy.Forgiven & WrongName) != 0 ? 0L : 2L);
    if (!FPolicy.AuthoritiesFile.empty())
        Set(CURLOPT_CAINFO, FPolicy.AuthoritiesFile.c_str());
    if (!FPolicy.Certificate)
        return;
    const ClientCertificate& Given = *FPolicy.Certificate;
    curl_blob Bytes{const_cast<char*>(Given.Bytes().data()), Given.Bytes().size(), CURL_BLOB_NOCOPY};
    const char* Type = Given.Kind() == ClientCertificate::Format::Pkcs12 ? "P12" : "PEM";
    Set(CURLOPT_SSLCERT_BLOB, &Bytes);
    Set(CURLOPT_SSLCERTTYPE, Type);
    Set(CURLOPT_SSLKEY_BLOB, &Bytes);
    Set(CURLOPT_SSLKEYTYPE, Type);
    Set(CURLOPT_KEYPASSWD, Given.Password().c_str());
}

std::uint32_t Transfer::Begin(const TransferPlan& APlan, Incoming& AIncoming,
                              const std::atomic<bool>& ACancelled)
{
    End();
    FPlan = &APlan;
    FIncoming = &AIncoming;
    FCancelled = &ACancelled;
    FPhase = Phase::Connecting;
    FHeadFinal = FPaused = FComplete = false;
    FPlainLength = 0;
    FError = FOwnError = NO_ERROR;
    FChecks.Clear();
    FErrorText[0] = '\0';
    if (const std::uint32_t Error = SetRequest(APlan))
        return Error;
    SetBody(APlan);
    SetCookies(APlan);
    SetLogins(APlan);
    if (curl_multi_add_handle(FMulti, FEasy) != CURLM_OK)
        return ERROR_NOT_ENOUGH_MEMORY;
    FActive = true;
    return NO_ERROR;
}

std::uint32_t Transfer::SetAddress(const Url& AUrl)
{
    if (FApplied.Url == AUrl)
        return NO_ERROR;
    FApplied.Url = {};
    if (const CURLUcode Code = curl_url_set(FAddress, CURLUPART_URL, AUrl.Text().c_str(), CURLU_PATH_AS_IS))
        return Code == CURLUE_OUT_OF_MEMORY ? ERROR_NOT_ENOUGH_MEMORY : ERROR_WINHTTP_INVALID_URL;
    FApplied.Url = AUrl;
    return NO_ERROR;
}

std::uint32_t Transfer::SetRequest(const TransferPlan& APlan)
{
    if (const std::uint32_t Error = SetAddress(*APlan.Url))
        return Error;
    if (FApplied.Proxy != APlan.ProxyAddress)
        Set(CURLOPT_PROXY, (FApplied.Proxy = APlan.ProxyAddress).c_str());
    if (FApplied.WholeTarget || !APlan.WholeTarget.empty()) {
        FApplied.WholeTarget = !APlan.WholeTarget.empty();
        Set(CURLOPT_REQUEST_TARGET, FApplied.WholeTarget ? std::string(APlan.WholeTarget).c_str() : nullptr);
    }
    if (FApplied.Version10 != APlan.Version10) {
        FApplied.Version10 = APlan.Version10;
        Set(CURLOPT_HTTP_VERSION,
            static_cast<long>(APlan.Version10 ? CURL_HTTP_VERSION_1_0 : CURL_HTTP_VERSION_1_1));
    }
    if (FApplied.KeepAlive != APlan.KeepAlive) {
        FApplied.KeepAlive = APlan.KeepAlive;
        Set(CURLOPT_FORBID_REUSE, APlan.KeepAlive ? 0L : 1L);
    }
    const std::uint32_t Connect = IsForEver(APlan.Patience.Connect) ? 0x7FFFFFFF : APlan.Patience.Connect;
    if (FApplied.Connect != Connect) {
        FApplied.Connect = Connect;
        Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(Connect));
    }
    Set(CURLOPT_HTTPHEADER, APlan.Fields);
    return NO_ERROR;
}

void Transfer::SetBody(const TransferPlan& APlan)
{
    if (APlan.Kind == TransferPlan::Shape::WithBody) {
        OutgoingBody& Body = *APlan.Body;
        const void* Bytes = Body.IsEmpty() ? "" : static_cast<const void*>(Body.Memory().data());
        Set(CURLOPT_POSTFIELDS, GoesInOnePiece(Body) ? Bytes : nullptr);
        Set(CURLOPT_POSTFIELDSIZE_LARGE,
            Body.Length() == cUnknownLength ? curl_off_t{-1} : static_cast<curl_off_t>(Body.Length()));
        Set(CURLOPT_POST, 1L);
    } else if (FApplied.Kind != APlan.Kind) {
        Set(APlan.Kind == TransferPlan::Shape::Head ? CURLOPT_NOBODY : CURLOPT_HTTPGET, 1L);
    }
    FApplied.Kind = APlan.Kind;

    const bool Given = !IsOwnVerb(APlan);
    if (Given && (!FApplied.VerbGiven || FApplied.Verb != APlan.Verb))
        Set(CURLOPT_CUSTOMREQUEST, (FApplied.Verb = APlan.Verb).c_str());
    else if (!Given && FApplied.VerbGiven)
        Set(CURLOPT_CUSTOMREQUEST, nullptr);
    FApplied.VerbGiven = Given;
}

void Transfer::SetCookies(const TransferPlan& APlan)
{
    if (FApplied.EngineCookies != APlan.EngineCookies) {
        FApplied.EngineCookies = APlan.EngineCookies;
        Set(CURLOPT_COOKIEFILE, APlan.EngineCookies ? "" : nullptr); // turns the cookies on, without a file
        Set(CURLOPT_SHARE, APlan.EngineCookies ? FCookies : nullptr);
    }
    if (FApplied.Cookies || !APlan.Cookies.empty()) {
        FApplied.Cookies = !APlan.Cookies.empty();
        Set(CURLOPT_COOKIE, FApplied.Cookies ? APlan.Cookies.c_str() : nullptr);
    }
}

void Transfer::SetLogins(const TransferPlan& APlan)
{
    if (FApplied.Login || APlan.Server != nullptr) {
        FApplied.Login = APlan.Server != nullptr;
        Set(CURLOPT_HTTPAUTH, FApplied.Login ? CurlAuth(APlan.Server->Scheme) : CURLAUTH_BASIC);
        Set(CURLOPT_USERNAME, FApplied.Login ? APlan.Server->User.c_str() : nullptr);
        Set(CURLOPT_PASSWORD, FApplied.Login ? APlan.Server->Password.c_str() : nullptr);
    }
    if (FApplied.ProxyLogin || APlan.Proxy != nullptr) {
        FApplied.ProxyLogin = APlan.Proxy != nullptr;
        Set(CURLOPT_PROXYAUTH, FApplied.ProxyLogin ? CurlAuth(APlan.Proxy->Scheme) : CURLAUTH_BASIC);
        Set(CURLOPT_PROXYUSERNAME, FApplied.ProxyLogin ? APlan.Proxy->User.c_str() : nullptr);
        Set(CURLOPT_PROXYPASSWORD, FApplied.ProxyLogin ? APlan.Proxy->Password.c_str() : nullptr);
    }
}

void Transfer::End()
{
    if (FActive)
        curl_multi_remove_handle(FMulti, FEasy);
    FActive = false;
    FPlan = nullptr;
    FIncoming = nullptr;
    FCancelled = nullptr;
}

// --- Driving ---------------------------------------------------------------------------------------

/// Runs libcurl until AReached, so no further than the caller needs: what the peer sends beyond that stays in
/// the socket.
template <class Goal>
std::uint32_t Transfer::DriveUntil(Goal AReached)
{
    if (AReached())
        return NO_ERROR;
    FMoved = true; // the time in which nobody waited doesn't count
    CURLMcode Code = FSockets.Run();
    for (;;) {
        if (Code != CURLM_OK)
            return ERROR_WINHTTP_INTERNAL_ERROR;
        if (!FComplete && FSockets.Running() == 0)
            TakeResult();
        if (AReached())
            return NO_ERROR;
        if (FComplete)
            return FError;
        if (FCancelled->load())
            return ERROR_WINHTTP_OPERATION_CANCELLED;
        if (IsTimeUp())
            return ERROR_WINHTTP_TIMEOUT;
        Code = FSockets.Wait(FDeadline);
    }
}

std::uint32_t Transfer::WaitForHead()
{
    return DriveUntil([this] { return FHeadFinal && HeadIsIn(); });
}

std::uint32_t Transfer::WaitForBody()
{
    GoOn();
    return DriveUntil([this] { return FIncoming->Available() != 0; });
}

std::uint32_t Transfer::FillTarget()
{
    GoOn();
    return DriveUntil([this] { return FIncoming->Target.empty(); });
}

void Transfer::GoOn()
{
    if (!FPaused || FIncoming->Available() != 0)
        return;
    FPaused = false;
    curl_easy_pause(FEasy, CURLPAUSE_CONT); // hands over what it held back, at once
}

std::size_t Transfer::Waiting() const
{
    const std::uint64_t Most = FComplete ? 0 : Missing();
    return Most == 0 ? 0 : std::min<std::uint64_t>({FSockets.Waiting(), Most, cMaxWaiting});
}

/// What a plain body has still to bring; 0 for another one, too.
std::uint64_t Transfer::Missing() const
{
    if (FPlainLength == 0)
        return 0;
    const auto Received = static_cast<std::uint64_t>(Info<curl_off_t>(CURLINFO_SIZE_DOWNLOAD_T));
    return FPlainLength - std::min(Received, FPlainLength);
}

/// Whether the caller's body is done with. After a refusal libcurl sends nothing more of it.
bool Transfer::HeadIsIn() const
{
    if (FComplete || FPlan->Kind != TransferPlan::Shape::WithBody || FIncoming->Head.Status() >= 300)
        return true;
    const OutgoingBody& Body = *FPlan->Body;
    if (GoesInOnePiece(Body))
        return static_cast<std::uint64_t>(Info<curl_off_t>(CURLINFO_SIZE_UPLOAD_T)) >= Body.Length();
    return Body.WasGivenWhole();
}

/// Sets the deadline anew whenever bytes moved. libcurl's own clock ends the connecting.
bool Transfer::IsTimeUp()
{
    if (!FMoved)
        return FDeadline && Clock::now() >= *FDeadline;
    const std::uint32_t Milliseconds = Limit();
    if (IsForEver(Milliseconds))
        FDeadline.reset();
    else
        FDeadline = Clock::now() + std::chrono::milliseconds(Milliseconds);
    FMoved = false;
    return false;
}

std::uint32_t Transfer::Limit() const
{
    switch (FPhase) {
    case Phase::Connecting:
        return 0;
    case Phase::Sending:
        return FPlan->Patience.Send;
    case Phase::Receiving:
        return FPlan->Patience.Receive;
    }
    return 0;
}

void Transfer::TakeResult()
{
    int Left = 0;
    while (const CURLMsg* Message = curl_multi_info_read(FMulti, &Left)) {
        if (Message->msg == CURLMSG_DONE) {
            Finish(Message->data.result);
            return;
        }
    }
}

void Transfer::Finish(CURLcode AResult)
{
    FComplete = true;
    // A proxy that asks who is there ends a tunnel before it stands; its question is the answer.
    const bool TunnelAsks = AResult != CURLE_OK && Info<long>(CURLINFO_HTTP_CONNECTCODE) == 407 &&
                            FIncoming->Head.IsComplete() && FIncoming->Head.Status() == 407;
    if (AResult == CURLE_OK || TunnelAsks)
        FHeadFinal = FIncoming->Head.IsComplete();
    if (!FHeadFinal || (AResult != CURLE_OK && !TunnelAsks))
        FError = NumberFor(AResult == CURLE_OK ? CURLE_GOT_NOTHING : AResult);
}

std::uint32_t Transfer::NumberFor(CURLcode AResult) const
{
    if (FOwnError != NO_ERROR)
        return FOwnError;
    if (FChecks.Fault() != NO_ERROR)
        return FChecks.Fault();
    // TLS 1.3 servers refuse the missing certificate only after the handshake.
    const bool Broken = AResult == CURLE_SSL_CONNECT_ERROR || AResult == CURLE_RECV_ERROR ||
                        AResult == CURLE_SEND_ERROR || AResult == CURLE_GOT_NOTHING;
    if (Broken && FChecks.CertificateMissed())
        return ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED;

    switch (AResult) {
    case CURLE_URL_MALFORMAT:
        return ERROR_WINHTTP_INVALID_URL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return ERROR_WINHTTP_NAME_NOT_RESOLVED;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
        return ERROR_WINHTTP_CANNOT_CONNECT;
    case CURLE_OPERATION_TIMEDOUT:
        return ERROR_WINHTTP_TIMEOUT;
    case CURLE_UNSUPPORTED_PROTOCOL: // an answer without a status line
    case CURLE_WEIRD_SERVER_REPLY:
        return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
    case CURLE_PEER_FAILED_VERIFICATION: // the chain was good, or Fault() would tell
        return ERROR_WINHTTP_SECURE_CERT_CN_INVALID;
    case CURLE_SSL_CACERT_BADFILE:
        return ERROR_WINHTTP_SECURE_INVALID_CA;
    case CURLE_SSL_CERTPROBLEM:
        return ERROR_WINHTTP_CLIENT_CERT_NO_ACCESS_PRIVATE_KEY;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
        return ERROR_WINHTTP_SECURE_CHANNEL_ERROR;
    case CURLE_SEND_FAIL_REWIND:
        return ERROR_READ_FAULT;
    case CURLE_OUT_OF_MEMORY: // also a single line of more than 100 KiB
        return FPhase == Phase::Receiving && !FIncoming->Head.IsComplete()
                   ? ERROR_WINHTTP_HEADER_SIZE_OVERFLOW
                   : ERROR_NOT_ENOUGH_MEMORY;
    case CURLE_RECV_ERROR:
        // libcurl has one code for a broken line and for broken chunks; its text tells them apart.
        if (std::string_view(FErrorText.data()).find("chunked-encoding") != std::string_view::npos)
            return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
        return FIncoming->Head.IsEmpty() && Info<long>(CURLINFO_HTTP_CONNECTCODE) >= 300
                   ? ERROR_WINHTTP_CANNOT_CONNECT
                   : ERROR_WINHTTP_CONNECTION_ERROR;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
        return ERROR_WINHTTP_CONNECTION_ERROR;
    default:
        return ERROR_WINHTTP_INTERNAL_ERROR;
    }
}

// --- What libcurl calls ----------------------------------------------------------------------------

std::size_t Transfer::OnHeader(char* AData, std::size_t ASize, std::size_t ACount, void* ASelf)
{
    return static_cast<Transfer*>(ASelf)->TakeHeadLine({AData, ASize * ACount});
}

std::size_t Transfer::TakeHeadLine(std::string_view ALine)
{
    FMoved = true;
    ResponseHead& Head = FIncoming->Head;
    if (Head.IsComplete() && !ALine.starts_with("HTTP/"))
        FHeadFinal = true;
    if (FHeadFinal)
        return ALine.size(); // trailer fields: nobody asks for them
    FOwnError = Head.AddLine(ALine, FPlan->Limits);
    if (FOwnError != NO_ERROR)
        return 0;
    if (Head.IsComplete())
        EvaluateHead();
    return ALine.size();
}

void Transfer::EvaluateHead()
{
    const std::uint32_t Status = FIncoming->Head.Status();
    // The answer to CONNECT comes by the same way; libcurl has no status of the exchange then.
    const bool OfTunnel = FPlan->Secure && Info<long>(CURLINFO_RESPONSE_CODE) == 0;
    FHeadFinal = Status >= 200 && !OfTunnel && !MayGoOn(Status);
    FPlainLength = FHeadFinal ? PlainLength() : 0;
}

/// The announced length where each byte on the wire is a byte of the body.
std::uint64_t Transfer::PlainLength() const
{
    const ResponseHead& Head = FIncoming->Head;
    const auto Text = Head.Find("Content-Length");
    std::uint64_t Length = 0;
    if (!Text || FPlan->Secure || FPlan->ProxyAddress.starts_with("https") || Head.Find("Transfer-Encoding"))
        return 0;
    const auto [End, Error] = std::from_chars(Text->data(), Text->data() + Text->size(), Length);
    return Error == std::errc() && End == Text->data() + Text->size() ? Length : 0;
}

/// Whether libcurl may answer this head itself, so that another follows.
bool Transfer::MayGoOn(std::uint32_t AStatus) const
{
    const Login* Asked = AStatus == 401 ? FPlan->Server : AStatus == 407 ? FPlan->Proxy : nullptr;
    return Asked != nullptr && Asked->Scheme != Basic;
}

std::size_t Transfer::OnBody(char* AData, std::size_t ASize, std::size_t ACount, void* ASelf)
{
    return static_cast<Transfer*>(ASelf)->TakeBody(AData, ASize * ACount);
}

std::size_t Transfer::TakeBody(const char* AData, std::size_t ASize)
{
    FMoved = true;
    FHeadFinal = true;
    Incoming& In = *FIncoming;
    if (In.Available() == 0) {
        In.Body.clear();
        In.Read = 0;
    }
    const std::size_t Wanted = std::min(In.Target.size(), ASize);
    std::copy_n(AData, Wanted, In.Target.data());
    In.Target = In.Target.subspan(Wanted);
    In.Body.append(AData + Wanted, ASize - Wanted);
    // libcurl would go on as long as bytes come, and these have a way to go once more. To refuse a piece,
    // rather than to pause after it, has libcurl keep a copy. Behind the last piece it has to come to its
    // end.
    const bool Filled = Wanted != 0 && In.Target.empty() && Missing() != 0;
    if ((Filled || In.Available() >= cEnough) && curl_easy_pause(FEasy, CURLPAUSE_RECV) == CURLE_OK)
        FPaused = true;
    return ASize;
}

std::size_t Transfer::OnRead(char* ABuffer, std::size_t ASize, std::size_t ACount, void* ASelf)
{
    auto& Self = *static_cast<Transfer*>(ASelf);
    Self.FMoved = true;
    OutgoingBody& Body = *Self.FPlan->Body;
    const std::int64_t Count = Body.Read(ABuffer, ASize * ACount);
    if (Count < 0) {
        Self.FOwnError = ERROR_READ_FAULT;
        return CURL_READFUNC_ABORT;
    }
    if (Body.WasGivenWhole())
        Self.FPhase = Phase::Receiving;
    return static_cast<std::size_t>(Count);
}

/// libcurl goes back when a kept connection turned out to be dead, or an answered challenge needs the body.
int Transfer::OnSeek(void* ASelf, curl_off_t AOffset, int AOrigin)
{
    auto& Self = *static_cast<Transfer*>(ASelf);
    const bool ToStart = AOffset == 0 && AOrigin == SEEK_SET && Self.FPlan->Body != nullptr;
    return ToStart && Self.FPlan->Body->Rewind() ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_FAIL;
}

int Transfer::OnConnected(void* ASelf, char* /*APeer*/, char* /*ALocal*/, int /*APeerPort*/,
                          int /*ALocalPort*/)
{
    auto& Self = *static_cast<Transfer*>(ASelf);
    Self.FMoved = true;
    const bool Asks = Self.FPlan->Kind == TransferPlan::Shape::WithBody && !GoesInOnePiece(*Self.FPlan->Body);
    Self.FPhase = Asks ? Phase::Sending : Phase::Receiving;
    return CURL_PREREQFUNC_OK;
}

CURLcode Transfer::OnTlsContext(CURL* /*AEasy*/, void* AContext, void* ASelf)
{
    static_cast<Transfer*>(ASelf)->FChecks.Attach(static_cast<SSL_CTX*>(AContext));
    return CURLE_OK;
}

} // namespace Zn::HttpClient
