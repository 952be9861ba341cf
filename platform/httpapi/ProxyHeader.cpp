#include "platform/httpapi/ProxyHeader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include <netinet/in.h>

namespace Zn
{
namespace
{

using Result = ProxyHeader::Result;

constexpr std::string_view Version1 = "PROXY ";
constexpr std::size_t LongestLine = 107; // with its CRLF
constexpr std::string_view Version2{"\r\n\r\n\0\r\nQUIT\n", 12};
constexpr std::size_t FixedPart = 16; // signature, version and command, family, length

std::optional<std::uint16_t> PortFrom(std::string_view AText)
{
    std::uint16_t Port = 0;
    const char* const End = AText.data() + AText.size();
    const auto [Stop, Error] = std::from_chars(AText.data(), End, Port);
    const bool HasLeadingZero = AText.size() > 1 && AText[0] == '0';
    return Error == std::errc() && Stop == End && !HasLeadingZero ? std::optional(Port) : std::nullopt;
}

/// Up to the next blank, which is taken off.
std::string_view NextWord(std::string_view& AText)
{
    const std::size_t End = std::min(AText.find(' '), AText.size());
    const std::string_view Word = AText.substr(0, End);
    AText.remove_prefix(std::min(End + 1, AText.size()));
    return Word;
}

std::optional<Endpoint> AddressFrom(std::string_view AText, int AFamily, std::string_view APort)
{
    const auto Port = PortFrom(APort);
    const auto Address = Port && AText.find('%') == std::string_view::npos
                             ? EndpointFromText(std::string(AText), *Port)
                             : std::nullopt;
    return Address && Address->Address.ss_family == AFamily ? Address : std::nullopt;
}

/// "PROXY TCP4 192.0.2.1 198.51.100.2 40000 443\r\n"
ProxyHeader ReadLine(std::string_view ABytes)
{
    const std::size_t End = ABytes.substr(0, LongestLine).find("\r\n");
    if (End == std::string_view::npos)
        return {ABytes.size() < LongestLine ? Result::Incomplete : Result::Refused, 0, {}};
    std::string_view Line = ABytes.substr(Version1.size(), End - Version1.size());
    const std::string_view Protocol = NextWord(Line);
    if (Protocol == "UNKNOWN")
        return {Result::Complete, End + 2, {}}; // what follows on the line is to be ignored
    if (Protocol != "TCP4" && Protocol != "TCP6")
        return {Result::Refused, 0, {}};
    const int Family = Protocol == "TCP4" ? AF_INET : AF_INET6;
    const std::string_view From = NextWord(Line);
    const std::string_view To = NextWord(Line);
    const std::string_view FromPort = NextWord(Line);
    const auto Client = AddressFrom(From, Family, FromPort);
    if (!Client || !AddressFrom(To, Family, Line))
        return {Result::Refused, 0, {}};
    return {Result::Complete, End + 2, Client};
}

std::uint8_t ByteAt(std::string_view ABytes, std::size_t AIndex)
{
    return static_cast<std::uint8_t>(ABytes[AIndex]);
}

std::size_t NumberAt(std::string_view ABytes, std::size_t AIndex)
{
    return std::size_t{ByteAt(ABytes, AIndex)} << 8 | ByteAt(ABytes, AIndex + 1);
}

/// CRC-32C (RFC 3720, 12.1) of the header, with the four bytes at AField taken as zero.
std::uint32_t Checksum(std::string_view AHeader, std::size_t AField)
{
    std::uint32_t Sum = 0xffffffff;
    for (std::size_t Index = 0; Index < AHeader.size(); ++Index) {
        Sum ^= Index >= AField && Index < AField + 4 ? 0 : ByteAt(AHeader, Index);
        for (int Bit = 0; Bit < 8; ++Bit)
            Sum = Sum >> 1 ^ ((Sum & 1) != 0 ? 0x82f63b78 : 0);
    }
    return ~Sum;
}

/// What stands behind the addresses: type, length, value, and so on to the end exactly.
bool AreExtensionsWhole(std::string_view AHeader, std::size_t AStart)
{
    constexpr std::uint8_t ChecksumType = 3;
    while (AStart < AHeader.size()) {
        if (AHeader.size() - AStart < 3)
            return false;
        const std::uint8_t Type = ByteAt(AHeader, AStart);
        const std::size_t Length = NumberAt(AHeader, AStart + 1);
        AStart += 3;
        if (AHeader.size() - AStart < Length)
            return false;
        if (Type == ChecksumType &&
            (Length != 4 ||
             (NumberAt(AHeader, AStart) << 16 | NumberAt(AHeader, AStart + 2)) != Checksum(AHeader, AStart)))
            return false;
        AStart += Length;
    }
    return true;
}

template <class TAddress>
Endpoint ClientAt(std::string_view ABytes, int AFamily, std::size_t APort)
{
    // source address, destination address, source port, destination port
    TAddress Address{};
    Endpoint Client;
    Client.Length = sizeof Address;
    if constexpr (std::is_same_v<TAddress, sockaddr_in>) {
        Address.sin_family = static_cast<sa_family_t>(AFamily);
        std::memcpy(&Address.sin_addr, ABytes.data() + FixedPart, sizeof Address.sin_addr);
        std::memcpy(&Address.sin_port, ABytes.data() + APort, sizeof Address.sin_port);
    } else {
        Address.sin6_family = static_cast<sa_family_t>(AFamily);
        std::memcpy(&Address.sin6_addr, ABytes.data() + FixedPart, sizeof Address.sin6_addr);
        std::memcpy(&Address.sin6_port, ABytes.data() + APort, sizeof Address.sin6_port);
    }
    std::memcpy(&Client.Address, &Address, sizeof Address);
    return Client;
}

ProxyHeader ReadBinary(std::string_view ABytes)
{
    constexpr std::uint8_t Local = 0x20, Proxy = 0x21; // version 2 with the command
    constexpr std::uint8_t Unspecified = 0x00, OverIPv4 = 0x11, OverIPv6 = 0x21;
    if (ABytes.size() < FixedPart)
        return {};
    const std::uint8_t Command = ByteAt(ABytes, 12);
    const std::uint8_t Family = ByteAt(ABytes, 13);
    const std::size_t Length = FixedPart + NumberAt(ABytes, 14);
    const std::size_t Addresses = Family == OverIPv4 ? 12 : Family == OverIPv6 ? 36 : 0;
    const bool IsKnown = Family == Unspecified || Addresses > 0;
    if ((Command != Local && Command != Proxy) || (Command == Proxy && !IsKnown) ||
        Length > LongestProxyHeader || Length < FixedPart + Addresses)
        return {Result::Refused, 0, {}};
    if (ABytes.size() < Length)
        return {};
    const std::string_view Header = ABytes.substr(0, Length);
    if (Command == Local || Addresses == 0) // the rest is to be skipped
        return {Result::Complete, Length, {}};
    if (!AreExtensionsWhole(Header, FixedPart + Addresses))
        return {Result::Refused, 0, {}};
    return {Result::Complete, Length,
            Family == OverIPv4 ? ClientAt<sockaddr_in>(Header, AF_INET, FixedPart + 8)
                               : ClientAt<sockaddr_in6>(Header, AF_INET6, FixedPart + 32)};
}

bool BeginsLike(std::string_view ABytes, std::string_view ASignature)
{
    const std::size_t Common = std::min(ABytes.size(), ASignature.size());
    return ABytes.substr(0, Common) == ASignature.substr(0, Common);
}

} // namespace

ProxyHeader ReadProxyHeader(std::string_view ABytes)
{
    for (const auto& [Signature, Read] : {std::pair(Version1, &ReadLine), std::pair(Version2, &ReadBinary)})
        if (BeginsLike(ABytes, Signature))
            return ABytes.size() < Signature.size() ? ProxyHeader{} : Read(ABytes);
    return {Result::Refused, 0, {}};
}

} // namespace Zn
