#include "tools/zn/Protection.h"

#include <algorithm>

#include "common/Exceptions.h"

namespace Zn
{

namespace
{

std::string ChooseRealm(const TUserFile& AUsers, std::string ARealm)
{
    return ARealm.empty() ? AUsers.FirstRealm() : std::move(ARealm);
}

} // namespace

TProtection::TProtection(TZnHTTPAuthentication AScheme, const TUserFile& AUsers, std::string ARealm,
                         const std::vector<std::string>& APaths)
    : FScheme(AScheme), FRealm(ChooseRealm(AUsers, std::move(ARealm))), FHasAccounts(true)
{
    Reload(AUsers);
    AddPaths(APaths);
}

TProtection::TProtection(const TUserFile* AUsers, const std::vector<std::string>& APaths)
    : FScheme(authOAuth2),
      FRealm(AUsers == nullptr ? std::string() : AUsers->FirstRealm()),
      FHasAccounts(AUsers != nullptr)
{
    if (AUsers != nullptr)
        Reload(*AUsers);
    AddPaths(APaths);
}

void TProtection::Reload(const TUserFile& AUsers) const
{
    auto Hashes = std::make_shared<const THashes>(AUsers.HashesOf(FRealm));
    if (Hashes->empty())
        throw Exception(FRealm.empty() ? "The file of accounts is empty: add one with zn users add"
                                       : "There is no account for the realm \"" + FRealm + "\".");
    FHashes.SetValue(std::move(Hashes));
}

void TProtection::AddPaths(const std::vector<std::string>& APaths)
{
    for (const std::string& Path : APaths)
        AddPath(Path);
    if (APaths.empty())
        AddPath("/");
}

void TProtection::AddPath(const std::string& APath)
{
    auto Path = DecodeUrlPath(APath);
    if (!Path)
        throw Exception("\"" + APath + "\" is no path that can be protected.");
    FPaths.push_back(std::move(Path->Names));
}

void TProtection::Attach(TZnCustomHTTPServer& AServer) const
{
    if (FScheme == authOAuth2) {
        AServer.SetOnGetStoredPassword([this](TZnCustomHTTPServer&, TZnHTTPAuthentication AScheme,
                                              const std::string& AUser, std::string&, std::string& ARole,
                                              std::string&, TDateTime&) {
            ARole = "User";
            return AScheme == authOAuth2 && IsKnownToProvider(AUser); // nobody has a password here
        });
        return;
    }
    AServer.SetAuthenticationRealm(FRealm);
    AServer.SetOnGetStoredPassword([this](TZnCustomHTTPServer&, TZnHTTPAuthentication,
                                          const std::string& AUser, std::string& AHash, std::string& ARole,
                                          std::string&, TDateTime&) {
        const auto Hashes = FHashes.GetValue();
        const auto Found = Hashes->find(AUser);
        if (Found == Hashes->end())
            return false;
        AHash = Found->second;
        ARole = "User";
        return true;
    });
}

void TProtection::Check(const TZnHTTPServerRequest& ARequest, std::string_view APath) const
{
    if (Refuses(ARequest, APath))
        throw EZnHTTPAuthenticationFailure(FScheme, "Log on to see this page.", 401);
}

/// Compares names, decoded once as those of files are, so that no other spelling of a path leads around it.
/// What can name no file is kept away from strangers as well.
bool TProtection::NeedsLogon(std::string_view APath) const
{
    const auto Path = DecodeUrlPath(APath);
    return !Path || std::any_of(FPaths.begin(), FPaths.end(), [&](const auto& AProtected) {
        return AProtected.size() <= Path->Names.size() &&
               std::equal(AProtected.begin(), AProtected.end(), Path->Names.begin());
    });
}

void RespondPrivate(TExchange& AExchange)
{
    const TZnHTTPServerRequest& Request = AExchange.Request;
    if (Request.AuthenticationType == authNone) // not protected: the server has no accounts
        throw EZnHTTPNotFound("There is nothing private here: start zn serve with --auth and --users, or "
                              "with --oidc-client-id.");
    const char* const How = Request.AuthenticationType == authBasic    ? "Basic"
                            : Request.AuthenticationType == authDigest ? "Digest"
                                                                       : "a session";
    AExchange.RespondText("Hello, " + Request.LogonName + ". You are here by " + How + ", as " +
                          Request.RoleName + ".\n");
}

} // namespace Zn
