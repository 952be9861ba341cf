#include "platform/httpclient/Request.h"

#include <algorithm>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "platform/errors/Errors.h"

namespace Zn::HttpClient
{

namespace
{

/// In one send, to one party: a server may change its mind, but not for ever.
constexpr std::uint32_t cMaxAnswers = 3;

/// The field that libcurl adds where nobody gives another, for less than one that it is given.
constexpr std::string_view cLibcurlsOwnAccept = "Accept: */*";

Url FirstUrl(const Connection& AConnection, const Request::Line& ALine)
{
    const std::uint16_t Scheme = ALine.Secure ? 443 : 80;
    return {{ALine.Secure, AConnection.Host(), AConnection.Port() != 0 ? AConnection.Port() : Scheme},
            ALine.Target};
}

/// Methods whose request says "Content-Length: 0" when it has no body (RFC 9110, 8.6).
bool AnticipatesBody(std::string_view AVerb)
{
    return AVerb == "POST" || AVerb == "PUT" || AVerb == "PATCH";
}

void Wipe(std::string& AText)
{
    OPENSSL_cleanse(AText.data(), AText.size());
    AText.clear();
}

} // namespace

Request::Request(std::shared_ptr<Connection> AConnection, Line ALine)
    : FConnection(std::move(AConnection)),
      FLine(std::move(ALine)),
      FFirst(FirstUrl(*FConnection, FLine)),
      FSettings(FConnection->Defaults()),
      FUrl(FFirst),
      FVerb(FLine.Verb)
{
    if (!FConnection->Add(*this))
        FCancelled.store(true);
}

Request::~Request()
{
    FConnection->Remove(*this);
    MutexLock Lock(FLock);
    DetachTransfer();
    for (Party* Each : {&FServer, &FProxy})
        for (Login& Known : Each->Logins)
            Wipe(Known.Password);
    Wipe(FCertificatePassword);
}

void Request::Cancel()
{
    FCancelled.store(true);
    MutexLock Lock(FWakeLock);
    if (FTransfer)
        FTransfer->Wake();
}

void Request::AddField(std::string_view AName, std::string_view AValue)
{
    MutexLock Lock(FLock);
    FFields.Add(AName, AValue);
}

std::uint32_t Request::ChangeFields(std::string_view ALines, const FieldChange& AChange)
{
    MutexLock Lock(FLock);
    return FCancelled.load() ? cCancelled : FFields.Change(ALines, AChange);
}

std::uint32_t Request::SetBodySource(const BodySource& ASource)
{
    MutexLock Lock(FLock);
    FSource = ASource;
    FSourceUsed = false;
    return FCancelled.load() ? cCancelled : NO_ERROR;
}

std::uint32_t Request::SetCertificatePassword(std::string APassword)
{
    MutexLock Lock(FLock);
    Wipe(FCertificatePassword);
    FCertificatePassword = std::move(APassword);
    return FCancelled.load() ? cCancelled : NO_ERROR;
}

std::uint32_t Request::SetCertificate(std::string ABytes)
{
    MutexLock Lock(FLock);
    if (FCancelled.load())
        return cCancelled;
    if (!ABytes.empty())
        return ClientCertificate::FromBytes(std::move(ABytes), FCertificatePassword,
                                            FSettings.Tls.Certificate);
    FSettings.Tls.Certificate.reset();
    return NO_ERROR;
}

std::uint32_t Request::SetLogin(bool AProxy, Login ALogin)
{
    MutexLock Lock(FLock);
    Party& Whose = PartyOf(AProxy);
    Whose.Answer = nullptr;
    for (Login& Known : Whose.Logins) {
        if (Known.Scheme == ALogin.Scheme) {
            Wipe(Known.Password);
            Known = std::move(ALogin);
            return NO_ERROR;
        }
    }
    Whose.Logins.push_back(std::move(ALogin));
    return FCancelled.load() ? cCancelled : NO_ERROR;
}

std::uint32_t Request::SetAccount(bool AProxy, const Account& AAccount)
{
    for (const std::uint32_t Each : {Basic, Ntlm, Digest, Negotiate}) {
        if (const std::uint32_t Error = SetLogin(AProxy, {Each, AAccount.User, AAccount.Password, true}))
            return Error;
    }
    return NO_ERROR;
}

void Request::TakeAccounts()
{
    for (const bool Proxy : {false, true}) {
        Account Known;
        FConnection->ChangeAccount(Proxy, [&](const Account& AAccount) { Known = AAccount; });
        if (Known.IsEmpty())
            continue;
        SetAccount(Proxy, Known);
        Wipe(Known.Password);
    }
}

CertificateFacts Request::FailedPeer()
{
    MutexLock Lock(FLock);
    return FFailedPeer;
}

// --- Sending ---------------------------------------------------------------------------------------

std::uint32_t Request::Send(std::string_view ALines, std::span<const std::byte> AMemory)
{
    MutexLock Lock(FLock);
    if (FCancelled.load())
        return cCancelled;
    if (const std::uint32_t Error = FFields.Change(ALines, {.Add = true}))
        return Error;
    if (const std::uint32_t Error = CheckFields())
        return Error;
    Drain();
    FHasResponse = false;
    FUrl = FFirst;
    FVerb = FLine.Verb;
    FBodyDropped = false;
    if (const std::uint32_t Error = TakeBody(AMemory))
        return Error;
    for (Party* Each : {&FServer, &FProxy}) {
        Each->Answer = Choose(*Each);
        Each->AnswersLeft = cMaxAnswers;
    }
    const std::uint32_t Error = ExchangeUntilAnswered();
    if (Error != NO_ERROR)
        DetachTransfer();
    FHasResponse = Error == NO_ERROR;
    return Error;
}

/// The source, where there is one and no memory. After an earlier send it stands somewhere else than at its
/// first byte.
std::uint32_t Request::TakeBody(std::span<const std::byte> AMemory)
{
    if (!AMemory.empty() || FSource.Read == nullptr) {
        FBody = OutgoingBody(AMemory);
        return NO_ERROR;
    }
    FBody = OutgoingBody(FSource);
    const bool AtStart = !FSourceUsed || (FSource.Rewind != nullptr && FSource.Rewind(FSource.Context));
    FSourceUsed = true;
    return AtStart ? NO_ERROR : ERROR_READ_FAULT;
}

std::uint32_t Request::ExchangeUntilAnswered()
{
    for (std::uint32_t Hops = 0;;) {
        if (const std::uint32_t Error = Exchange())
            return Error;
        ReadChallenge();
        std::uint32_t Error = NO_ERROR;
        if (CanAnswer())
            Error = PrepareAgain();
        else if (LeadsOn())
            Error = Hops++ < FSettings.MaxRedirects ? Follow() : ERROR_WINHTTP_REDIRECT_FAILED;
        else
            return NO_ERROR;
        if (Error != NO_ERROR)
            return Error;
    }
}

/// Transfer-Encoding is the engine's: a caller's own would announce what isn't sent.
std::uint32_t Request::CheckFields() const
{
    if (FFields.Find("Transfer-Encoding") != nullptr)
        return ERROR_INVALID_PARAMETER;
    const bool Unknown = FSource.Read != nullptr && FSource.TotalLength == cUnknownLength;
    return Unknown && FLine.Version10 ? ERROR_INVALID_PARAMETER : NO_ERROR;
}

std::uint32_t Request::Exchange()
{
    FIncoming.Clear();
    FBodyError = NO_ERROR;
    FFailedPeer = {};
    MakePlan();
    std::uint32_t Error = AttachTransfer();
    if (Error == NO_ERROR)
        Error = FTransfer->WaitForHead();
    if (Error == NO_ERROR && FTransfer->IsComplete())
        FBodyError = FTransfer->Result(); // one that broke off shows it where its body ends
    if (Error != NO_ERROR && FTransfer)
        FFailedPeer = FTransfer->PeerCertificate();
    if (Error != NO_ERROR || FTransfer->IsComplete())
        DetachTransfer();
    return Error;
}

std::uint32_t Request::AttachTransfer()
{
    if (FTransfer && FTransfer->Policy() != FSettings.Tls)
        DetachTransfer();
    if (!FTransfer) {
        std::unique_ptr<Transfer> Taken = FConnection->Take(FSettings.Tls);
        if (!Taken)
            return ERROR_NOT_ENOUGH_MEMORY;
        MutexLock Lock(FWakeLock);
        FTransfer = std::move(Taken);
    }
    return FTransfer->Begin(FPlan, FIncoming, FCancelled);
}

void Request::DetachTransfer()
{
    std::unique_ptr<Transfer> Done;
    {
        MutexLock Lock(FWakeLock);
        Done = std::move(FTransfer);
    }
    if (!Done)
        return;
    Done->End();
    FConnection->Give(std::move(Done), FSettings.IdleConnections);
}

bool Request::TakesBody() const
{
    return !FBodyDropped && (!FBody.IsEmpty() || AnticipatesBody(FVerb));
}

void Request::MakePlan()
{
    const Session& Owner = FConnection->Owner();
    FPlan.Url = &FUrl;
    FPlan.WholeTarget = FUrl.Target == "*" ? std::string_view("*") : std::string_view();
    FPlan.Verb = FVerb;
    FPlan.Kind = TransferPlan::Shape::Plain;
    if (TakesBody())
        FPlan.Kind = TransferPlan::Shape::WithBody;
    else if (FVerb == "HEAD")
        FPlan.Kind = TransferPlan::Shape::Head;
    FPlan.Body = FPlan.Kind == TransferPlan::Shape::WithBody ? &FBody : nullptr;
    FPlan.Version10 = FLine.Version10;
    FPlan.EngineCookies = FSettings.Cookies && Owner.Cookies() != nullptr;
    FPlan.KeepAlive = FSettings.KeepAlive;
    FPlan.Secure = FUrl.Origin.Secure;
    FPlan.ProxyAddress = Owner.Proxies().For(FUrl.Origin);
    FPlan.Server = FSettings.Authentication && AtHome() ? FServer.Answer : nullptr;
    FPlan.Proxy = FSettings.Authentication && !FPlan.ProxyAddress.empty() ? FProxy.Answer : nullptr;
    FPlan.Patience = FSettings.Patience;
    FPlan.Limits = FSettings.HeadLimits;
    MakeFieldList();
}

/// The caller's fields, less what belongs to the engine, and less what another host must not see.
void Request::MakeFieldList()
{
    FFieldList.clear();
    FEmptyFields.clear();
    FPlan.Cookies.clear();
    const auto& Given = FFields.Fields();
    FFieldList.reserve(Given.size() + 6);
    bool HasAgent = false;
    bool HasAccept = false;
    bool HasType = false;
    for (const RequestFields::Field& Each : Given) {
        const std::string_view Name = Each.Name();
        if (SameName(Name, "Content-Length") || (FBodyDropped && SameName(Name, "Content-Type")) ||
            (!AtHome() &&
             (SameName(Name, "Authorization") || SameName(Name, "Cookie") || SameName(Name, "Host"))))
            continue;
        if (FPlan.Server != nullptr && FPlan.Server->AfterChallenge && SameName(Name, "Authorization"))
            continue; // the answer to a challenge stands in its place
        if (FPlan.EngineCookies && SameName(Name, "Cookie")) {
            FPlan.Cookies.append(FPlan.Cookies.empty() ? "" : "; ").append(Each.Value());
            continue;
        }
        HasAgent = HasAgent || SameName(Name, "User-Agent");
        HasAccept = HasAccept || SameName(Name, "Accept");
        HasType = HasType || SameName(Name, "Content-Type");
        if (Each.Line == cLibcurlsOwnAccept)
            continue;
        if (SameName(Name, "Connection") && SameName(Each.Value(), "close"))
            FPlan.KeepAlive = false;
        if (Each.Value().empty())
            AppendField(
                FEmptyFields.emplace_back(std::string(Name) + ';').c_str()); // libcurl's way to say it
        else
            AppendField(Each.Line.c_str());
    }
    const std::string& Agent = FConnection->Owner().UserAgentLine();
    if (!HasAgent && !Agent.empty())
        AppendField(Agent.c_str());
    // A name with nothing behind it keeps libcurl from adding its own.
    if (!HasAccept)
        AppendField("Accept:");
    if (FPlan.Kind == TransferPlan::Shape::WithBody) {
        AppendField("Expect:");
        if (!HasType)
            AppendField("Content-Type:");
    }
    for (std::size_t At = 0; At + 1 < FFieldList.size(); ++At)
        FFieldList[At].next = &FFieldList[At + 1];
    FPlan.Fields = FFieldList.data();
}

void Request::AppendField(const char* ALine)
{
    FFieldList.push_back({const_cast<char*>(ALine), nullptr}); // libcurl only reads it
}

std::string Request::FormatHead() const
{
    const bool Dropped = FBodyDropped;
    std::string Text = FVerb + ' ' + FUrl.Target + (FLine.Version10 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n");
    if (FFields.Find("Host") == nullptr || !AtHome())
        Text += "Host: " + FUrl.Origin.Authority() + "\r\n";
    const std::string& Agent = FConnection->Owner().UserAgentLine();
    if (FFields.Find("User-Agent") == nullptr && !Agent.empty())
        Text += Agent + "\r\n";
    for (const RequestFields::Field& Each : FFields.Fields()) {
        const bool Private = SameName(Each.Name(), "Authorization") || SameName(Each.Name(), "Cookie") ||
                             SameName(Each.Name(), "Host");
        const bool OfBody = SameName(Each.Name(), "Content-Type");
        if (SameName(Each.Name(), "Content-Length") || (Private && !AtHome()) || (OfBody && Dropped))
            continue;
        Text.append(Each.Line).append("\r\n");
    }
    if (TakesBody() && FBody.Length() != cUnknownLength)
        Text += "Content-Length: " + std::to_string(FBody.Length()) + "\r\n";
    return Text + "\r\n";
}

// --- Challenges and redirects ----------------------------------------------------------------------

/// Basic needs no question, unless it is told to wait; the others wait for theirs. Something that isn't
/// offered is never sent.
const Login* Request::Choose(const Party& AParty)
{
    const Login* Best = nullptr;
    for (const Login& Each : AParty.Logins) {
        const bool Fits = AParty.Asked.Offered != 0 ? (AParty.Asked.Offered & Each.Scheme) != 0
                                                    : Each.Scheme == Basic && !Each.AfterChallenge;
        if (!Fits)
            continue;
        if (Each.Scheme == AParty.Asked.Best)
            return &Each;
        if (Best == nullptr || Each.Scheme > Best->Scheme)
            Best = &Each;
    }
    return Best;
}

void Request::ReadChallenge()
{
    const std::uint32_t Status = FIncoming.Head.Status();
    if (Status == 401)
        FServer.Asked = ReadChallenges(FIncoming.Head, "WWW-Authenticate", AnswerableSchemes());
    else if (Status == 407 && !FPlan.ProxyAddress.empty())
        FProxy.Asked = ReadChallenges(FIncoming.Head, "Proxy-Authenticate", AnswerableSchemes());
}

/// Whether the caller's own field has said already what ALogin would.
bool Request::WasSaid(const Login& ALogin) const
{
    const RequestFields::Field* Own = FFields.Find("Authorization");
    if (Own == nullptr || ALogin.Scheme != Basic)
        return false;
    std::string Plain = ALogin.User + ':' + ALogin.Password;
    std::vector<unsigned char> Coded(4 * (Plain.size() / 3 + 1) + 1);
    const int Length = EVP_EncodeBlock(Coded.data(), reinterpret_cast<const unsigned char*>(Plain.data()),
                                       static_cast<int>(Plain.size()));
    Wipe(Plain);
    const bool Same =
        Own->Value().starts_with("Basic ") &&
        std::ranges::equal(
            Own->Value().substr(6), std::span(Coded.data(), static_cast<std::size_t>(Length)),
            [](char ALeft, unsigned char ARight) { return static_cast<unsigned char>(ALeft) == ARight; });
    OPENSSL_cleanse(Coded.data(), Coded.size());
    return Same;
}

/// Whether there is an answer to a challenge that this send hasn't given yet.
bool Request::CanAnswer()
{
    const std::uint32_t Status = FIncoming.Head.Status();
    const bool ByServer = Status == 401 && AtHome();
    const bool ByProxy = Status == 407 && !FPlan.ProxyAddress.empty();
    if (!FSettings.Authentication || (!ByServer && !ByProxy))
        return false;
    Party& Asking = PartyOf(ByProxy);
    const Login* Answer = Choose(Asking);
    if (Answer == nullptr || Answer == Asking.Answer || Asking.AnswersLeft == 0)
        return false;
    if (ByServer && Asking.Answer == nullptr && WasSaid(*Answer))
        return false; // the same again would be the same wrong guess
    --Asking.AnswersLeft;
    Asking.Answer = Answer;
    return true;
}

bool Request::LeadsOn() const
{
    const std::uint32_t Status = FIncoming.Head.Status();
    const bool Moved = Status == 301 || Status == 302 || Status == 303 || Status == 307 || Status == 308;
    if (!Moved || FSettings.Redirects == RedirectPolicy::Never)
        return false;
    const auto Location = FIncoming.Head.Find("Location");
    if (!Location)
        return false;
    const auto Next = ResolveLocation(FUrl, *Location);
    const bool Downgrade = Next && FUrl.Origin.Secure && !Next->Origin.Secure;
    return !Downgrade || FSettings.Redirects == RedirectPolicy::Always;
}

std::uint32_t Request::Follow()
{
    const std::uint32_t Status = FIncoming.Head.Status();
    auto Next = ResolveLocation(FUrl, *FIncoming.Head.Find("Location"));
    if (!Next)
        return ERROR_WINHTTP_REDIRECT_FAILED;
    // What everybody does with a POST; 307 and 308 keep it (RFC 9110, 15.4).
    const bool BecomesGet =
        (Status == 303 && FVerb != "HEAD") || ((Status == 301 || Status == 302) && FVerb == "POST");
    if (BecomesGet) {
        FVerb = "GET";
        FBodyDropped = true;
    }
    const std::uint32_t Error = PrepareAgain();
    FUrl = std::move(*Next);
    return Error;
}

/// Makes way for another exchange of the same send.
std::uint32_t Request::PrepareAgain()
{
    Drain();
    if (FCancelled.load())
        return ERROR_WINHTTP_OPERATION_CANCELLED;
    return FBodyDropped || FBody.Rewind() ? NO_ERROR : ERROR_READ_FAULT;
}

// --- The response ----------------------------------------------------------------------------------

std::uint32_t Request::ResponseMissing() const
{
    if (FCancelled.load())
        return cCancelled;
    return FHasResponse ? NO_ERROR : ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
}

std::uint32_t Request::Asked(Challenge& AResult, bool& AByProxy)
{
    MutexLock Lock(FLock);
    if (const std::uint32_t Error = ResponseMissing())
        return Error;
    const std::uint32_t Status = FIncoming.Head.Status();
    AByProxy = Status == 407;
    AResult = PartyOf(AByProxy).Asked;
    return (Status == 401 || Status == 407) && AResult.Offered != 0 ? NO_ERROR : ERROR_INVALID_OPERATION;
}

std::uint32_t Request::HeadText(std::string& AResult)
{
    MutexLock Lock(FLock);
    AResult = FormatHead();
    return FCancelled.load() ? cCancelled : NO_ERROR;
}

std::uint32_t Request::FieldValue(std::string_view AName, std::size_t AOccurrence, std::string& AResult)
{
    MutexLock Lock(FLock);
    const RequestFields::Field* Found = FFields.Find(AName, AOccurrence);
    if (Found == nullptr)
        return ERROR_WINHTTP_HEADER_NOT_FOUND;
    AResult = Found->Value();
    return FCancelled.load() ? cCancelled : NO_ERROR;
}

std::uint32_t Request::Address(std::string& AResult)
{
    MutexLock Lock(FLock);
    AResult = FUrl.Text();
    return FCancelled.load() ? cCancelled : NO_ERROR;
}

/// Reads a response that nobody wants, so that its connection can be used again; unless it is too long for
/// that.
void Request::Drain()
{
    std::size_t Total = 0;
    while (FTransfer && Total <= FSettings.DrainBytes) {
        if (MoreData() != NO_ERROR)
            break;
        Total += FIncoming.Available();
        FIncoming.Read += FIncoming.Available();
    }
    // The same transfer goes on: it remembers a Digest's nonce, an NTLM connection.
    if (FTransfer)
        FTransfer->End();
}

/// Waits until bytes of the body are there; none with 0: its end.
std::uint32_t Request::MoreData()
{
    if (FTransfer && FIncoming.Available() == 0)
        Drive([](Transfer& ATransfer) { return ATransfer.WaitForBody(); });
    return FIncoming.Available() != 0 ? NO_ERROR : FBodyError;
}

/// Bytes that weren't there yet, straight into the caller's memory.
std::uint32_t Request::Receive(std::span<char> ATarget)
{
    FIncoming.Target = ATarget;
    if (FTransfer)
        Drive([](Transfer& ATransfer) { return ATransfer.FillTarget(); });
    return FBodyError;
}

template <class Work>
void Request::Drive(Work AWork)
{
    FPlan.Patience = FSettings.Patience; // may have been set anew since the send
    const std::uint32_t Error = AWork(*FTransfer);
    FBodyError = FTransfer->IsComplete() ? FTransfer->Result() : Error;
    if (Error != NO_ERROR || FTransfer->IsComplete())
        DetachTransfer();
}

std::uint32_t Request::WaitForData(std::size_t& AAvailable)
{
    MutexLock Lock(FLock);
    std::uint32_t Error = ResponseMissing();
    if (Error == NO_ERROR)
        Error = MoreData();
    AAvailable = FIncoming.Available();
    if (AAvailable != 0 && FTransfer)
        AAvailable += FTransfer->Waiting();
    return Error;
}

std::uint32_t Request::Read(void* ABuffer, std::size_t ASize, std::size_t& ARead)
{
    MutexLock Lock(FLock);
    ARead = 0;
    if (const std::uint32_t Error = ResponseMissing())
        return Error;
    ARead = std::min(FIncoming.Available(), ASize);
    std::copy_n(FIncoming.Body.data() + FIncoming.Read, ARead, static_cast<char*>(ABuffer));
    FIncoming.Read += ARead;
    const std::span Rest(static_cast<char*>(ABuffer) + ARead, ASize - ARead);
    if (Rest.empty())
        return NO_ERROR;
    const std::uint32_t Error = Receive(Rest);
    ARead = ASize - FIncoming.Target.size();
    FIncoming.Target = {};
    return ARead != 0 ? NO_ERROR : Error; // and again at the next call
}

} // namespace Zn::HttpClient
