#include "platform/httpapi/UrlPrefix.h"

#include <arpa/inet.h>

#include <tuple>

#include "platform/httpapi/Grammar.h"
#include "platform/httpapi/Target.h"

namespace Zn
{

using namespace Grammar;

namespace
{

constexpr std::string_view MappedStart("\0\0\0\0\0\0\0\0\0\0\xFF\xFF", 12); // ::ffff:0:0/96

std::string_view WithoutMapping(std::string_view AAddress)
{
    return AAddress.size() == 16 && AAddress.starts_with(MappedStart) ? AAddress.substr(12) : AAddress;
}

std::string_view WithoutLastDot(std::string_view AHost)
{
    return AHost.ends_with('.') ? AHost.substr(0, AHost.size() - 1) : AHost;
}

std::string Lower(std::string_view AText)
{
    std::string Text(AText);
    std::transform(Text.begin(), Text.end(), Text.begin(), ToLower);
    return Text;
}

bool ReadLiteral(int AFamily, const std::string& AText, UrlPrefix& APrefix)
{
    std::array<char, 16> Binary{};
    if (inet_pton(AFamily, AText.c_str(), Binary.data()) != 1)
        return false;
    const std::string_view Address = WithoutMapping({Binary.data(), AFamily == AF_INET ? 4U : 16U});
    std::array<char, INET6_ADDRSTRLEN> Text{};
    inet_ntop(Address.size() == 4 ? AF_INET : AF_INET6, Address.data(), Text.data(), Text.size());
    APrefix.Form = HostForm::Literal;
    APrefix.Address = Address;
    APrefix.Host = Address.size() == 4 ? std::string(Text.data()) : '[' + std::string(Text.data()) + ']';
    return true;
}

bool ReadHost(std::string_view AHost, UrlPrefix& APrefix)
{
    if (AHost == "+" || AHost == "*") {
        APrefix.Form = AHost == "+" ? HostForm::Strong : HostForm::Weak;
        APrefix.Host = AHost;
        return true;
    }
    if (!IsHost(AHost))
        return false;
    if (AHost.front() == '[')
        return ReadLiteral(AF_INET6, std::string(AHost.substr(1, AHost.size() - 2)), APrefix);
    const std::string_view Name = WithoutLastDot(AHost);
    const std::string_view LastLabel = Name.substr(Name.rfind('.') + 1);
    if (std::all_of(LastLabel.begin(), LastLabel.end(), IsDigit)) // no top-level domain is a number
        return ReadLiteral(AF_INET, std::string(Name), APrefix);
    APrefix.Form = HostForm::Name;
    APrefix.Host = Lower(Name);
    return true;
}

bool ReadPath(std::string_view APath, UrlPrefix& APrefix)
{
    if (!APath.starts_with('/') || !IsCanonical(APath))
        return false;
    for (std::size_t At = 0; At < APath.size(); ++At) {
        char Byte = APath[At];
        if (Byte == '%') {
            if (!IsEscape(APath, At))
                return false;
            Byte = static_cast<char>(HexValue(APath[At + 1]) << 4 | HexValue(APath[At + 2]));
            At += 2;
            if (Byte == '/')
                return false;
        } else if (Byte == '?' || Byte == '#' || Byte == '\\')
            return false;
        if (!Is(Value, Byte))
            return false;
        APrefix.Path += ToLower(Byte);
    }
    if (!APrefix.Path.ends_with('/'))
        APrefix.Path += '/';
    return true;
}

bool CoversHost(const UrlPrefix& APrefix, const UrlLookup& ALookup)
{
    switch (APrefix.Form) {
    case HostForm::Name:
        return EqualsLower(WithoutLastDot(ALookup.Host), APrefix.Host);
    case HostForm::Literal: {
        const std::string& Address = APrefix.Address;
        const bool Every = std::all_of(Address.begin(), Address.end(), [](char AByte) { return AByte == 0; });
        return Every || Address == WithoutMapping(ALookup.LocalAddress);
    }
    default:
        return true;
    }
}

bool CoversPath(std::string_view APrefix, std::string_view APath)
{
    if (APath == "*")
        APath = "/";
    APrefix.remove_suffix(1);
    std::size_t At = 0;
    for (const char Wanted : APrefix) {
        if (At == APath.size())
            return false;
        char Byte = APath[At++];
        if (Byte == '%' && IsEscape(APath, At - 1)) {
            Byte = static_cast<char>(HexValue(APath[At]) << 4 | HexValue(APath[At + 1]));
            At += 2;
            if (Byte == '/')
                return false;
        }
        if (ToLower(Byte) != Wanted)
            return false;
    }
    return At == APath.size() || APath[At] == '/';
}

} // namespace

std::optional<UrlPrefix> ParseUrlPrefix(std::string_view AText)
{
    const std::size_t SchemeLength = AText.find("://");
    if (SchemeLength == AText.npos)
        return std::nullopt;
    const std::string_view Scheme = AText.substr(0, SchemeLength);
    UrlPrefix Prefix;
    Prefix.Secure = EqualsLower(Scheme, "https");
    if (!Prefix.Secure && !EqualsLower(Scheme, "http"))
        return std::nullopt;

    const std::string_view Rest = AText.substr(SchemeLength + 3);
    const std::size_t Slash = Rest.find('/');
    if (Slash == Rest.npos)
        return std::nullopt;
    const std::string_view Authority = Rest.substr(0, Slash);
    const std::size_t Bracket = Authority.rfind(']');
    const std::size_t Colon = Authority.find(':', Bracket == Authority.npos ? 0 : Bracket);
    Prefix.Port = Prefix.Secure ? 443 : 80;
    if (Colon != Authority.npos) {
        const auto Port = ParsePort(Authority.substr(Colon + 1));
        if (!Port)
            return std::nullopt;
        Prefix.Port = *Port;
    }
    if (!ReadHost(Authority.substr(0, Colon), Prefix) || !ReadPath(Rest.substr(Slash), Prefix))
        return std::nullopt;
    return Prefix;
}

bool Covers(const UrlPrefix& APrefix, const UrlLookup& ALookup)
{
    return APrefix.Port == ALookup.LocalPort && APrefix.Secure == ALookup.Secure &&
           CoversHost(APrefix, ALookup) && CoversPath(APrefix.Path, ALookup.Path);
}

bool ComesBefore(const UrlPrefix& A, const UrlPrefix& B)
{
    if (A.Path.size() != B.Path.size())
        return A.Path.size() > B.Path.size();
    return std::tie(A.Form, A.Path, A.Host, A.Port, A.Secure) <
           std::tie(B.Form, B.Path, B.Host, B.Port, B.Secure);
}

} // namespace Zn
