#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/socket.h>

namespace Zn
{

/// Addresses with a common beginning, "192.0.2.0/24" or "2001:db8::/32"; a single one without the slash.
class AddressRange
{
public:
    /// nullopt for what is none, also where bits are set behind the prefix.
    static std::optional<AddressRange> Parse(std::string_view AText);

    /// IPv4 addresses in IPv6 form count as what they are.
    bool Contains(const sockaddr* AAddress) const;

private:
    using Bits = std::array<std::uint8_t, 16>; // IPv4 as ::ffff:a.b.c.d
    static std::optional<Bits> BitsOf(const sockaddr* AAddress);

    Bits FPrefix{};
    unsigned FLength = 128; // bits of it
};

using AddressRanges = std::vector<AddressRange>;

/// Ranges with blanks between them; nullopt, and AProblem the offender, where one of them is none.
std::optional<AddressRanges> ParseAddressRanges(std::string_view AText, std::string& AProblem);

bool Contains(const AddressRanges& ARanges, const sockaddr* AAddress);

} // namespace Zn
