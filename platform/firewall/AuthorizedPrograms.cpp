#include "platform/firewall/AuthorizedPrograms.h"

#include <array>

#include "platform/firewall/NetFw.h"
#include "platform/state/JsonMembers.h"
#include "platform/text/Unicode.h"

namespace Zn
{
namespace
{

// The words of the file, by their numbers.
constexpr std::array<std::string_view, 2> Scopes{"all", "localSubnet"};
constexpr std::array<std::string_view, 3> IpVersions{"v4", "v6", "any"};

template <class TWords>
std::int32_t TakeWord(StateJson& AEntry, const char* AName, const TWords& AWords, std::int32_t ADefault)
{
    const auto Word =
        TakeMember<std::string>(AEntry, AName, std::string(AWords[static_cast<std::size_t>(ADefault)]));
    const auto Found = std::find(AWords.begin(), AWords.end(), Word);
    RequireState(Found != AWords.end());
    return static_cast<std::int32_t>(Found - AWords.begin());
}

AuthorizedProgram ReadEntry(StateJson& AEntry)
{
    RequireState(AEntry.is_object());
    AuthorizedProgram Result;
    Result.Path = TakeText(AEntry, "path");
    RequireState(IsProgramPath(Result.Path));
    Result.Name = TakeMember<std::string>(AEntry, "name", {});
    Result.Scope = TakeWord(AEntry, "scope", Scopes, NET_FW_SCOPE_ALL);
    Result.IpVersion = TakeWord(AEntry, "ipVersion", IpVersions, NET_FW_IP_VERSION_ANY);
    Result.Enabled = TakeMember(AEntry, "enabled", true);
    Result.Others = OtherMembers(AEntry);
    return Result;
}

AuthorizedPrograms ReadPrograms(StateJson ADocument)
{
    RequireState(ADocument.is_object());
    AuthorizedPrograms Result;
    StateJson Entries = TakeMember(ADocument, "authorizedApplications", StateJson::array());
    RequireState(Entries.size() <= AuthorizedPrograms::MaxCount);
    for (StateJson& Each : Entries)
        Result.Entries.push_back(ReadEntry(Each));
    Result.Others = OtherMembers(ADocument);
    return Result;
}

StateJson ToJson(const AuthorizedProgram& AEntry)
{
    StateJson Result{{"path", AEntry.Path},
                     {"name", AEntry.Name},
                     {"scope", Scopes[static_cast<std::size_t>(AEntry.Scope)]},
                     {"ipVersion", IpVersions[static_cast<std::size_t>(AEntry.IpVersion)]},
                     {"enabled", AEntry.Enabled}};
    AppendOthers(Result, AEntry.Others);
    return Result;
}

} // namespace

AuthorizedProgram* AuthorizedPrograms::Find(std::string_view APath)
{
    const auto Found = std::find_if(Entries.begin(), Entries.end(),
                                    [&](const AuthorizedProgram& AEntry) { return AEntry.Path == APath; });
    return Found == Entries.end() ? nullptr : &*Found;
}

bool IsProgramPath(std::string_view APath)
{
    constexpr std::size_t MaxPathLength = 4095;
    return APath.starts_with('/') && APath.size() <= MaxPathLength &&
           APath.find('\0') == std::string_view::npos && Utf8FromUtf16(Utf16FromUtf8(APath)) == APath;
}

bool IsScope(std::int32_t AValue)
{
    return AValue >= 0 && static_cast<std::size_t>(AValue) < Scopes.size();
}

bool IsIpVersion(std::int32_t AValue)
{
    return AValue >= 0 && static_cast<std::size_t>(AValue) < IpVersions.size();
}

std::optional<AuthorizedPrograms> ParsePrograms(std::string_view AText)
{
    std::optional<AuthorizedPrograms> Result;
    const auto Read = [&](StateJson ADocument) { Result = ReadPrograms(std::move(ADocument)); };
    return ReadStateJson(AText, Read) ? Result : std::nullopt;
}

std::string FormatPrograms(const AuthorizedPrograms& APrograms)
{
    StateJson Document = StateJson::object();
    Document["authorizedApplications"] = ToJsonArray(APrograms.Entries, ToJson);
    AppendOthers(Document, APrograms.Others);
    return WriteStateJson(Document);
}

} // namespace Zn
