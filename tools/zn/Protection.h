#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/Locks.h"
#include "tools/zn/Exchange.h"
#include "tools/zn/UrlPath.h"
#include "tools/zn/UserFile.h"
#include "uZnHTTPServer.h"

namespace Zn
{

/// Which paths of a site need a logon, and who may log on. Read only once it is made, but for Reload; any
/// thread.
class TProtection
{
public:
    /// AScheme is what the challenge names: authBasic or authDigest. ARealm empty: the file's first one.
    /// APaths are paths below the binding; none protects all of them. Raises Exception for a path that can't
    /// name a file and for accounts of which none belongs to the realm.
    TProtection(TZnHTTPAuthentication AScheme, const TUserFile& AUsers, std::string ARealm,
                const std::vector<std::string>& APaths);

    /// For an identity provider: it checks who somebody is. AUsers are those who may log on, of the file's
    /// first realm; none lets everybody in whom the provider knows.
    TProtection(const TUserFile* AUsers, const std::vector<std::string>& APaths);

    /// Adds a path to those that need a logon.
    void AddPath(const std::string& APath);

    /// Takes the accounts of the same realm from AUsers, for the logons to come. Raises Exception, and keeps
    /// those it has, where there are none.
    void Reload(const TUserFile& AUsers) const;

    /// Gives AServer realm and accounts; this object outlives it.
    void Attach(TZnCustomHTTPServer& AServer) const;

    /// Raises EZnHTTPAuthenticationFailure 401 when APath, as in the URL but without the binding's part,
    /// needs a logon and the caller has none.
    void Check(const TZnHTTPServerRequest& ARequest, std::string_view APath) const;
    /// Whether Check would raise.
    bool Refuses(const TZnHTTPServerRequest& ARequest, std::string_view APath) const
    {
        return ARequest.AuthenticationType == authNone && NeedsLogon(APath);
    }

private:
    void AddPaths(const std::vector<std::string>& APaths);
    using THashes = std::unordered_map<std::string, std::string>; // by user name

    bool IsKnownToProvider(const std::string& AUser) const
    {
        return !FHasAccounts || FHashes.GetValue()->contains(AUser);
    }
    bool NeedsLogon(std::string_view APath) const;

    const TZnHTTPAuthentication FScheme;
    const std::string FRealm;
    mutable TZnThreadSafeType<std::shared_ptr<const THashes>> FHashes; // replaced by Reload
    const bool FHasAccounts;                      // by a provider: false lets everybody in
    std::vector<std::vector<std::string>> FPaths; // names from the site's root on
};

/// The handler of /demo/private: tells the caller who he is.
void RespondPrivate(TExchange& AExchange);

} // namespace Zn
