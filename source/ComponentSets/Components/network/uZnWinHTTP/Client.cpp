#include "uZnWinHTTP/Client.h"

#include <utility>

#include "uZnWinHTTP/Request.h"

TZnWinHTTPClient::TZnWinHTTPClient(TComponent* AOwner)
    : TZnHTTPClientBase(AOwner), FLink(std::make_shared<Zn::ComponentLink<TZnWinHTTPClient>>(this))
{
}

TZnWinHTTPClient::~TZnWinHTTPClient()
{
    FLink->Clear();
    TZnWinHTTPSession* const Session = PresentSession();
    if (Session == nullptr)
        return;
    Session->GetConnections().RemoveClient(this);
    if (Session->GetOwner() == this) {
        Session->Close();
        delete Session;
    }
}

std::shared_ptr<IZnHTTPSession> TZnWinHTTPClient::GetSession()
{
    return Zn::Borrow<IZnHTTPSession>(&GetWinHTTPSession());
}

TZnWinHTTPSession& TZnWinHTTPClient::GetWinHTTPSession()
{
    TZnWinHTTPSession* const Session = PresentSession();
    return Session != nullptr ? *Session : MakeSession({});
}

TZnWinHTTPSession* TZnWinHTTPClient::PresentSession() const
{
    const TSessionLink* const Link = FSession;
    return Link == nullptr ? nullptr : Link->Get();
}

void TZnWinHTTPClient::UseSession(TZnWinHTTPSession& ASession)
{
    FLinks.push_back(ASession.GetLink());
    FSession = ASession.GetLink().get();
}

/// A session that another thread made meanwhile will do.
TZnWinHTTPSession& TZnWinHTTPClient::MakeSession(const std::string& AUserAgent)
{
    const TZnLockGuard Guard(FSessionLock);
    if (TZnWinHTTPSession* const Present = PresentSession())
        return *Present;
    auto* const Session = new TZnWinHTTPSession(this);
    if (!AUserAgent.empty())
        Session->SetUserAgent(AUserAgent);
    UseSession(*Session);
    return *Session;
}

void TZnWinHTTPClient::SetSession(const std::shared_ptr<IZnHTTPSession>& AValue)
{
    if (!AValue) {
        SetSession(static_cast<TZnWinHTTPSession*>(nullptr));
        return;
    }
    const auto Reference = ZnSupports<IZnObjectReference>(AValue);
    auto* const Session = Reference ? dynamic_cast<TZnWinHTTPSession*>(Reference->Implementor()) : nullptr;
    if (Session == nullptr)
        throw EZnWinHTTPInvalidArgument("The session of a TZnWinHTTPClient must be a TZnWinHTTPSession!");
    SetSession(Session);
}

void TZnWinHTTPClient::SetSession(TZnWinHTTPSession* AValue)
{
    TZnWinHTTPSession* const Old = PresentSession();
    if (Old == AValue && AValue != nullptr)
        return;
    if (Old != nullptr)
        Old->GetConnections().RemoveClient(this);
    const TZnLockGuard Guard(FSessionLock);
    FSession = nullptr;
    if (AValue != nullptr)
        UseSession(*AValue);
}

TZnWinHTTPSession& TZnWinHTTPClient::CheckSession()
{
    TZnWinHTTPSession* const Present = PresentSession();
    TZnWinHTTPSession& Session =
        Present != nullptr ? *Present : MakeSession(GetRequestHeaders().GetUserAgent());
    Session.Open();
    return Session;
}

TZnWinHTTPSession& TZnWinHTTPClient::PrepareSession()
{
    TZnWinHTTPSession& Session = CheckSession();
    if (GetAuthentication() == authOAuth2)
        GetOAuthAccessToken();
    return Session;
}

std::shared_ptr<IZnHTTPRequestEx> TZnWinHTTPClient::PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                                   const std::string& AURL,
                                                                   const AnsiString& ABody,
                                                                   const std::string& ABodyContentType)
{
    TZnWinHTTPSession& Session = PrepareSession();
    auto Body = std::make_unique<TStringStream>(ABody);
    TStream* const Stream = Body.get();
    return std::make_shared<Zn::TZnHTTPRequest>(*this, Session, AHTTPMethod, AURL, Stream, std::move(Body),
                                                ABodyContentType);
}

std::shared_ptr<IZnHTTPRequestEx> TZnWinHTTPClient::PrepareRequest(TZnHTTPMethod AHTTPMethod,
                                                                   const std::string& AURL, TStream* ABody,
                                                                   const std::string& ABodyContentType)
{
    TZnWinHTTPSession& Session = PrepareSession();
    return std::make_shared<Zn::TZnHTTPRequest>(*this, Session, AHTTPMethod, AURL, ABody, nullptr,
                                                ABodyContentType);
}
