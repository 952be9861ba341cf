#pragma once

#include <optional>
#include <string>
#include <vector>

#include "uZnHTTPServer.h"

namespace Zn
{

/// The pages of `zn serve --auth form` and, but for the logon page, of a logon by an identity provider.
/// Empty: not given.
struct TFormLogonOptions
{
    std::string LogonUrl;   // default logon.html below the binding
    std::string LogoffUrl;  // default logoff.html there
    std::string DefaultUrl; // default the first protected path
};

/// AOptions with the defaults in their places. AProtect as below.
TFormLogonOptions PagesOf(const TZnCustomHTTPServer& AServer, const TFormLogonOptions& AOptions,
                          const std::vector<std::string>& AProtect);

/// Switches form logon on. AProtect are the protected paths below AServer's first binding, whose path begins
/// the default URLs.
void UseFormLogon(TZnCustomHTTPServer& AServer, const TFormLogonOptions& AOptions,
                  const std::vector<std::string>& AProtect);

/// Whether strangers have to see this resource even where all is protected: the logon page and the one that
/// ends a session.
bool IsLogonPage(const TZnCustomHTTPServer& AServer, const TZnURLData& AUrl);

} // namespace Zn
