#pragma once

/// The list of allowed programs, and its form in the state folder's firewall.json. Values in, values out.
///
///     {
///       "authorizedApplications": [{"path": "/usr/bin/program", "name": "program", "scope": "localSubnet",
///                                   "ipVersion": "any", "enabled": true}]
///     }
///
/// All but the path may be absent. Members that this version doesn't know are kept.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/state/StateFile.h"

namespace Zn
{

struct AuthorizedProgram
{
    std::string Path;
    std::string Name;
    std::int32_t Scope = 0;     // NET_FW_SCOPE_...
    std::int32_t IpVersion = 2; // NET_FW_IP_VERSION_...
    bool Enabled = true;
    std::string Others{}; // unknown members, as the text of a JSON object; mostly empty
};

struct AuthorizedPrograms
{
    static constexpr std::size_t MaxCount = 10000;

    std::vector<AuthorizedProgram> Entries;
    std::string Others{};

    /// nullptr where there is none.
    AuthorizedProgram* Find(std::string_view APath);
};

/// Absolute, without a NUL, at most 4095 bytes of well-formed UTF-8.
bool IsProgramPath(std::string_view APath);
bool IsScope(std::int32_t AValue);
bool IsIpVersion(std::int32_t AValue);

/// nullopt for a text that isn't of the form above.
std::optional<AuthorizedPrograms> ParsePrograms(std::string_view AText);
std::string FormatPrograms(const AuthorizedPrograms& APrograms);

inline constexpr StateFile<AuthorizedPrograms> ProgramsFile{"firewall.json", ParsePrograms, FormatPrograms};

} // namespace Zn
