#include "platform/httpapi/Target.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "platform/httpapi/Grammar.h"

namespace Zn
{

using namespace Grammar;

namespace
{

// 1 for ".", 2 for "..", each dot also as "%2e"; 0 for any other segment.
unsigned Dots(std::string_view ASegment)
{
    unsigned Count = 0;
    while (!ASegment.empty()) {
        if (ASegment.front() == '.')
            ASegment.remove_prefix(1);
        else if (ASegment.size() >= 3 && ASegment[0] == '%' && ASegment[1] == '2' &&
                 (ASegment[2] | 0x20) == 'e')
            ASegment.remove_prefix(3);
        else
            return 0;
        if (++Count > 2)
            return 0;
    }
    return Count;
}

} // namespace

bool IsCanonical(std::string_view ARawPath)
{
    for (std::size_t Slash = ARawPath.find('/'); Slash != ARawPath.npos;) {
        const std::size_t Next = ARawPath.find('/', Slash + 1);
        const std::size_t Length = (Next == ARawPath.npos ? ARawPath.size() : Next) - Slash - 1;
        if (Dots(ARawPath.substr(Slash + 1, Length)) != 0)
            return false;
        Slash = Next;
    }
    return true;
}

std::optional<std::string> CanonicalPath(std::string_view ARawPath)
{
    if (ARawPath.empty() || ARawPath.front() != '/')
        return std::nullopt;
    for (std::size_t At = ARawPath.find('%'); At != ARawPath.npos; At = ARawPath.find('%', At + 1))
        if (!IsEscape(ARawPath, At))
            return std::nullopt;

    std::string Path;
    Path.reserve(ARawPath.size());
    for (std::size_t Slash = 0; Slash != ARawPath.npos;) {
        const std::size_t Next = ARawPath.find('/', Slash + 1);
        const std::string_view Segment =
            ARawPath.substr(Slash + 1, Next == ARawPath.npos ? Next : Next - Slash - 1);
        const unsigned Count = Dots(Segment);
        if (Count == 0) {
            Path += '/';
            Path += Segment;
        } else {
            if (Count == 2 && !Path.empty())
                Path.resize(Path.rfind('/'));
            if (Next == ARawPath.npos) // a dot segment at the end names a folder
                Path += '/';
        }
        Slash = Next;
    }
    return Path;
}

bool IsHost(std::string_view AText)
{
    constexpr std::size_t LongestName = 255; // RFC 1035, 2.3.4
    if (AText.empty() || AText.size() > LongestName)
        return false;
    if (AText.front() == '[') {
        std::array<char, INET6_ADDRSTRLEN> Address{};
        in6_addr Binary;
        const std::size_t Length = AText.size() - 1;
        if (AText.back() != ']' || Length > Address.size())
            return false;
        std::memcpy(Address.data(), AText.data() + 1, Length - 1);
        return inet_pton(AF_INET6, Address.data(), &Binary) == 1;
    }
    char Before = '.';
    for (const char Byte : AText) {
        if (Byte == '.' ? Before == '.' : !Is(HostChar, Byte))
            return false;
        Before = Byte;
    }
    return true;
}

std::optional<std::uint16_t> ParsePort(std::string_view ADigits)
{
    std::uint16_t Port = 0;
    const char* End = ADigits.data() + ADigits.size();
    const auto [Stop, Error] = std::from_chars(ADigits.data(), End, Port);
    if (ADigits.size() > 5 || Error != std::errc{} || Stop != End)
        return std::nullopt;
    return Port;
}

std::optional<HostPort> SplitHost(std::string_view AHost, std::uint16_t ADefaultPort)
{
    const std::size_t Behind = AHost.starts_with('[') ? AHost.find(']') : 0;
    const std::size_t Colon = Behind == AHost.npos ? Behind : AHost.find(':', Behind);
    const std::string_view Host = AHost.substr(0, Colon);
    if (!IsHost(Host))
        return std::nullopt;
    if (Colon == AHost.npos || Colon + 1 == AHost.size())
        return HostPort{Host, ADefaultPort};
    const auto Port = ParsePort(AHost.substr(Colon + 1));
    if (!Port || *Port == 0)
        return std::nullopt;
    return HostPort{Host, *Port};
}

std::optional<CookedUrl> ComposeUrl(std::string_view AScheme, const HostPort& AHost, std::string_view APath,
                                    std::string_view AQuery, std::span<char16_t> AOut)
{
    std::array<char, 6> Digits{':'};
    const auto [End, Error] = std::to_chars(Digits.data() + 1, Digits.data() + Digits.size(), AHost.Port);
    const std::string_view Port(Digits.data(), static_cast<std::size_t>(End - Digits.data()));
    const std::string_view Path = APath == "*" ? std::string_view("/") : APath;

    CookedUrl Url{};
    Url.HostStart = AScheme.size() + 3;
    Url.HostLength = AHost.Host.size() + Port.size();
    Url.PathStart = Url.HostStart + Url.HostLength;
    Url.PathLength = Path.size();
    Url.QueryStart = Url.PathStart + Url.PathLength;
    Url.QueryLength = AQuery.size();
    Url.Length = Url.QueryStart + Url.QueryLength;
    if (Url.Length > AOut.size())
        return std::nullopt;

    char16_t* Out = AOut.data();
    const auto Widen = [](char AByte) { return static_cast<char16_t>(static_cast<unsigned char>(AByte)); };
    const auto Put = [&](std::string_view AText) {
        Out = std::transform(AText.begin(), AText.end(), Out, Widen);
    };
    const auto PutLower = [&](std::string_view AText) {
        Out = std::transform(AText.begin(), AText.end(), Out,
                             [&](char AByte) { return Widen(ToLower(AByte)); });
    };
    PutLower(AScheme);
    Put("://");
    PutLower(AHost.Host);
    Put(Port);
    Put(Path);
    Put(AQuery);
    return Url;
}

} // namespace Zn
