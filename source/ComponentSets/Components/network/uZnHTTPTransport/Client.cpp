#include "uZnHTTPTransport/Client.h"

#include <utility>

TZnHTTPTransportClient::TZnHTTPTransportClient(TComponent* AOwner)
    : TZnHTTPClientBase(AOwner), FLink(std::make_shared<Zn::ComponentLink<TZnHTTPTransportClient>>(this))
{
}

void TZnHTTPTransportClient::Shutdown()
{
    FLink->Clear();
    TZnHTTPTransportSession* const Session = PresentSession();
    if (Session == nullptr)
        return;
    Session->GetConnections().RemoveClient(this);
    if (Session->GetOwner() == this) {
        Session->Close();
        delete Session;
    }
}

std::shared_ptr<IZnHTTPSession> TZnHTTPTransportClient::GetSession()
{
    return Zn::Borrow<IZnHTTPSession>(&GetTransportSession());
}

TZnHTTPTransportSession& TZnHTTPTransportClient::GetTransportSession()
{
    TZnHTTPTransportSession* const Session = PresentSession();
    return Session != nullptr ? *Session : OwnSession({});
}

TZnHTTPTransportSession* TZnHTTPTransportClient::PresentSession() const
{
    const TSessionLink* const Link = FSession;
    return Link == nullptr ? nullptr : Link->Get();
}

void TZnHTTPTransportClient::Remember(TZnHTTPTransportSession& ASession)
{
    FLinks.push_back(ASession.GetLink());
    FSession = ASession.GetLink().get();
}

/// A session that another thread made meanwhile will do.
TZnHTTPTransportSession& TZnHTTPTransportClient::OwnSession(const std::string& AUserAgent)
{
    const TZnLockGuard Guard(FSessionLock);
    if (TZnHTTPTransportSession* const Present = PresentSession())
        return *Present;
    TZnHTTPTransportSession* const Session = MakeSession();
    if (!AUserAgent.empty())
        Session->SetUserAgent(AUserAgent);
    Remember(*Session);
    return *Session;
}

void TZnHTTPTransportClient::SetSession(const std::shared_ptr<IZnHTTPSession>& AValue)
{
    if (!AValue) {
        UseSession(nullptr);
        return;
    }
    const auto Reference = ZnSupports<IZnObjectReference>(AValue);
    UseSession(SessionFrom(Reference ? Reference->Implementor() : nullptr));
}

void TZnHTTPTransportClient::UseSession(TZnHTTPTransportSession* AValue)
{
    TZnHTTPTransportSession* const Old = PresentSession();
    if (Old == AValue && AValue != nullptr)
        return;
    if (Old != nullptr)
        Old->GetConnections().RemoveClient(this);
    const TZnLockGuard Guard(FSessionLock);
    FSession = nullptr;
    if (AValue != nullptr)
        Remember(*AValue);
}

TZnHTTPTransportSession& TZnHTTPTransportClient::CheckSession()
{
    TZnHTTPTransportSession* const Present = PresentSession();
    TZnHTTPTransportSession& Session =
        Present != nullptr ? *Present : OwnSession(GetRequestHeaders().GetUserAgent());
    Session.Open();
    return Session;
}

std::shared_ptr<const TZnURLData> TZnHTTPTransportClient::DecodeURL(std::string_view AURL)
{
    {
        const Zn::MutexLock Lock(FLastURLLock);
        if (FLastURL && FLastURL->URL == AURL)
            return FLastURL;
    }
    auto Decoded = std::make_shared<const TZnURLData>(ZnDecodeURL(std::string(AURL)));
    const Zn::MutexLock Lock(FLastURLLock);
    FLastURL = Decoded;
    return Decoded;
}

TZnHTTPTransportSession& TZnHTTPTransportClient::PrepareSession()
{
    TZnHTTPTransportSession& Session = CheckSession();
    if (GetAuthentication() == authOAuth2)
        GetOAuthAccessToken();
    return Session;
}

std::shared_ptr<IZnHTTPRequestEx> TZnHTTPTransportClient::PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                                         const std::string& AURL,
                                                                         const AnsiString& ABody,
                                                                         const std::string& ABodyContentType)
{
    TZnHTTPTransportSession& Session = PrepareSession();
    auto Body = std::make_unique<TStringStream>(ABody);
    TStream* const Stream = Body.get();
    return MakeRequest(Session, AHTTPMethod, AURL, Stream, std::move(Body), ABodyContentType);
}

std::shared_ptr<IZnHTTPRequestEx> TZnHTTPTransportClient::PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                                         const std::string& AURL,
                                                                         TStream* ABody,
                                                                         const std::string& ABodyContentType)
{
    TZnHTTPTransportSession& Session = PrepareSession();
    return MakeRequest(Session, AHTTPMethod, AURL, ABody, nullptr, ABodyContentType);
}
