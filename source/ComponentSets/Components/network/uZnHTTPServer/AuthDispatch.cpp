// Who asks, by the Authorization field: the scheme, the account, the comparison, the outcome.

#include "common/Encoding.h"
#include "common/Hash.h"
#include "common/Text.h"
#include "uZnHTTPServer/AuthMonitor.h"
#include "uZnHTTPServer/BasicCredentials.h"
#include "uZnHTTPServer/CurrentExchange.h"
#include "uZnHTTPServer/Digest.h"
#include "uZnHTTPServer/Server.h"

namespace
{

constexpr std::int32_t cFailureLimit = 6;

/// Hashes as hexadecimal text, whose letter case has no meaning. Takes a time that tells nothing of where
/// they differ.
bool SameHash(std::string_view ALeft, std::string_view ARight)
{
    return ZnSameSecret(LowerCase(ALeft), LowerCase(ARight));
}

} // namespace

/// What OnGetStoredPassword gave. An empty hash means that there is no password, not an empty one: it never
/// matches. Else anyone could work out a Digest response for it.
struct TZnCustomHTTPServer::TAccount
{
    bool Exists;
    std::string PasswordHash;
    std::string RoleName;
    std::string Salt;
    TDateTime ExpiresOn = 0;

    bool HasPassword() const { return Exists && !PasswordHash.empty(); }
};

void TZnCustomHTTPServer::DoAuthenticate(TZnHTTPServerResponseThread&, std::string_view AAuthHeader,
                                         PZnHTTPServerRequest ARequest)
{
    const std::size_t Blank = AAuthHeader.find(cZnSpace);
    if (Blank == std::string_view::npos)
        return;
    const std::string_view Scheme = AAuthHeader.substr(0, Blank);
    const std::string_view Credentials = AAuthHeader.substr(Blank + 1);
    ARequest->AuthenticationType = authNone;
    if (Scheme == "Basic")
        CheckBasic(Credentials, *ARequest);
    else if (Scheme == "Digest")
        CheckDigest(Credentials, *ARequest);
}

void TZnCustomHTTPServer::CheckBasic(std::string_view ACredentials, TZnHTTPServerRequest& ARequest)
{
    const auto Credentials = Zn::ParseBasicCredentials(ACredentials);
    if (!Credentials)
        return;
    const std::string& UserName = Credentials->UserName;
    const TAccount Account = FindAccount(authBasic, UserName);
    const bool Authenticated =
        Account.HasPassword() &&
        SameHash(Account.PasswordHash, CalculatePasswordHash(UserName, Credentials->Password, Account.Salt));
    Conclude(ARequest, authBasic, UserName, Account, Authenticated);
}

void TZnCustomHTTPServer::CheckDigest(std::string_view ACredentials, TZnHTTPServerRequest& ARequest)
{
    const Zn::DigestCredentials Credentials = Zn::ParseDigestCredentials(ACredentials);
    if (Credentials.UserName.empty())
        return;
    const TAccount Account = FindAccount(authDigest, Credentials.UserName);
    const bool Authenticated =
        Account.HasPassword() &&
        SameHash(Zn::DigestResponse(Credentials, ARequest.HttpVerb, Account.PasswordHash),
                 Credentials.Response);
    Conclude(ARequest, authDigest, Credentials.UserName, Account, Authenticated);
}

TZnCustomHTTPServer::TAccount TZnCustomHTTPServer::FindAccount(TZnHTTPAuthentication AAuthType,
                                                               const std::string& AUserName)
{
    TAccount Account;
    Account.Exists = GetStoredPassword(*this, AAuthType, AUserName, Account.PasswordHash, Account.RoleName,
                                       Account.Salt, Account.ExpiresOn);
    return Account;
}

void TZnCustomHTTPServer::Conclude(TZnHTTPServerRequest& ARequest, TZnHTTPAuthentication AAuthType,
                                   const std::string& AUserName, const TAccount& AAccount,
                                   bool AAuthenticated)
{
    if (AAuthenticated) {
        ARequest.AuthenticationType = AAuthType;
        ARequest.LogonName = AUserName;
        ARequest.RoleName = AAccount.RoleName;
        ARequest.PasswordExp = AAccount.ExpiresOn;
    }
    DoOnAuthenticate(AUserName, AAuthenticated);
}

std::string TZnCustomHTTPServer::CalculatePasswordHash(const std::string& AUserName,
                                                       const std::string& APassword, const std::string&)
{
    std::string Text = AUserName;
    Text.append(1, ':').append(*FAuthenticationRealm.Locked()).append(1, ':').append(APassword);
    return MD5Hash(Text);
}

bool TZnCustomHTTPServer::GetStoredPassword(TZnCustomHTTPServer& ASender, TZnHTTPAuthentication AAuthType,
                                            const std::string& AUserName, std::string& APasswordHash,
                                            std::string& ARoleName, std::string& ASalt, TDateTime& AExpiresOn)
{
    APasswordHash.clear();
    ARoleName.clear();
    ASalt.clear();
    AExpiresOn = 0;
    if (const PZnHTTPServerRequest Request = HTTPRequest()) {
        TZnHTTPAuthAttempt& Attempt = Request->AuthAttempt;
        Attempt.LastAttempt = FAuthMonitor->GetLastAuthAttempt(Request->RemoteIp, AUserName, Attempt.Cnt);
    }
    return FOnGetStoredPassword &&
           FOnGetStoredPassword(ASender, AAuthType, AUserName, APasswordHash, ARoleName, ASalt, AExpiresOn);
}

void TZnCustomHTTPServer::DoOnAuthenticate(const std::string& AUserName, bool AAuthenticated)
{
    const PZnHTTPServerRequest Request = HTTPRequest();
    // A success leaves the count alone: it ends with its age.
    if (Request != nullptr && !AAuthenticated &&
        FAuthMonitor->ProcessAuthAttempt(Request->RemoteIp, AUserName, false) > cFailureLimit)
        throw EZnHTTPException("Too many authentication failures!", 429);
    if (FOnAuthenticate)
        FOnAuthenticate(*this, AUserName, AAuthenticated);
}
