#include "platform/httpapi/ProxyHeader.h"

#include <gtest/gtest.h>

#include "platform/httpapi/AddressRange.h"

using namespace Zn;
using State = ProxyHeader::Result;

namespace
{

std::string Bytes(const char* AHex)
{
    std::string Result("\r\n\r\n\0\r\nQUIT\n", 12);
    for (; AHex[0] != '\0'; AHex += AHex[2] == ' ' ? 3 : 2)
        Result += static_cast<char>(std::stoi(std::string(AHex, 2), nullptr, 16));
    return Result;
}

struct Case
{
    std::string Bytes;
    State Expected;
    const char* Client = ""; // "" for the proxy itself
    std::uint16_t Port = 0;
};

const std::string OverIPv4 = "C0 00 02 01 C6 33 64 02 9C 40 01 BB";

} // namespace

TEST(ProxyHeader, TakesWhatCanBeReadInOneWay)
{
    const std::string V1 = "PROXY TCP4 192.0.2.1 198.51.100.2 40000 443\r\n";
    const Case Cases[] = {
        {V1, State::Complete, "192.0.2.1", 40000},
        {"PROXY TCP6 2001:db8::1 ::1 0 65535\r\n", State::Complete, "2001:db8::1", 0},
        {"PROXY UNKNOWN\r\n", State::Complete},
        {"PROXY UNKNOWN whatever stands here\r\n", State::Complete},
        {"PROXY TCP4 192.0.2.1 198.51.100.2 040000 443\r\n", State::Refused},
        {"PROXY TCP4 192.0.2.1 198.51.100.2 65536 443\r\n", State::Refused},
        {"PROXY TCP4 192.0.2.1  198.51.100.2 40000 443\r\n", State::Refused},
        {"PROXY TCP4 192.0.2.1 198.51.100.2 40000 443 \r\n", State::Refused},
        {"PROXY TCP4 192.0.2.1 198.51.100.2 40000\r\n", State::Refused},
        {"PROXY TCP4 2001:db8::1 ::1 40000 443\r\n", State::Refused},
        {"PROXY TCP6 fe80::1%1 ::1 40000 443\r\n", State::Refused},
        {"PROXY UDP4 192.0.2.1 198.51.100.2 40000 443\r\n", State::Refused},
        {"PROXY " + std::string(100, 'x') + "\r\n", State::Refused},
        {"proxy TCP4 192.0.2.1 198.51.100.2 40000 443\r\n", State::Refused},
        {"GET / HTTP/1.1\r\n\r\n", State::Refused},
        {Bytes(("21 11 00 0C " + OverIPv4).c_str()), State::Complete, "192.0.2.1", 40000},
        {Bytes("21 21 00 24 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01 "
               "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00 07 01 BB"),
         State::Complete, "2001:db8::1", 7},
        {Bytes(("21 11 00 10 " + OverIPv4 + " 04 00 01 00").c_str()), State::Complete, "192.0.2.1", 40000},
        {Bytes("20 00 00 00"), State::Complete},                      // a proxy's own check
        {Bytes("20 11 00 03 00 00 00"), State::Refused},              // too short for its addresses
        {Bytes("21 00 00 02 FF FF"), State::Complete},                // an unspecified family: skipped
        {Bytes(("21 12 00 0C " + OverIPv4).c_str()), State::Refused}, // datagrams
        {Bytes("21 31 00 00"), State::Refused},                       // local sockets
        {Bytes(("11 11 00 0C " + OverIPv4).c_str()), State::Refused}, // version 1 in binary
        {Bytes(("22 11 00 0C " + OverIPv4).c_str()), State::Refused}, // an unknown command
        {Bytes(("21 11 00 0B " + OverIPv4).c_str()), State::Refused},
        {Bytes(("21 11 00 0E " + OverIPv4 + " 04 00").c_str()), State::Refused}, // half an extension
        {Bytes(("21 11 00 10 " + OverIPv4 + " 04 00 02 00").c_str()),
         State::Refused}, // longer than the header
        {Bytes(("21 11 00 13 " + OverIPv4 + " 03 00 04 00 00 00 00").c_str()), State::Refused}, // wrong sum
        {Bytes("21 11 08 00"), State::Refused}, // 2064 bytes: announced, and refused at once
    };
    for (const Case& Each : Cases) {
        const ProxyHeader Header =
            ReadProxyHeader(Each.Bytes + (Each.Expected == State::Complete ? "GET" : ""));
        ASSERT_EQ(Header.State, Each.Expected) << testing::PrintToString(Each.Bytes);
        if (Header.State != State::Complete)
            continue;
        EXPECT_EQ(Header.Length, Each.Bytes.size());
        EXPECT_EQ(Header.Client ? AddressText(*Header.Client) : "", Each.Client);
        EXPECT_EQ(Header.Client ? PortOf(*Header.Client) : 0, Each.Port);
        for (std::size_t Cut = 0; Cut < Each.Bytes.size(); ++Cut)
            EXPECT_EQ(ReadProxyHeader(std::string_view(Each.Bytes).substr(0, Cut)).State, State::Incomplete);
    }
}

TEST(ProxyHeader, VerifiesAChecksum)
{
    // By an independent CRC-32C over the header with zeros in the field.
    EXPECT_EQ(ReadProxyHeader(Bytes(("21 11 00 13 " + OverIPv4 + " 03 00 04 4D 20 D6 09").c_str())).State,
              State::Complete);
}

TEST(AddressRange, ContainsByItsBits)
{
    struct
    {
        const char* Range;
        const char* Address;
        bool Expected;
    } const Cases[] = {
        {"192.0.2.0/24", "192.0.2.255", true},       {"192.0.2.0/24", "192.0.3.0", false},
        {"192.0.2.8/29", "192.0.2.15", true},        {"192.0.2.8/29", "192.0.2.16", false},
        {"0.0.0.0/0", "203.0.113.1", true},          {"0.0.0.0/0", "2001:db8::1", false},
        {"192.0.2.1", "::ffff:192.0.2.1", true},     {"2001:db8::/33", "2001:db8:7fff::", true},
        {"2001:db8::/33", "2001:db8:8000::", false}, {"::/0", "192.0.2.1", true}};
    for (const auto& Each : Cases) {
        const auto Range = AddressRange::Parse(Each.Range);
        ASSERT_TRUE(Range) << Each.Range;
        EXPECT_EQ(Range->Contains(EndpointFromText(Each.Address, 1)->Get()), Each.Expected)
            << Each.Range << " " << Each.Address;
    }
    for (const char* const None : {"", "localhost", "192.0.2.0/33", "192.0.2.1/24", "192.0.2.0/",
                                   "192.0.2.0/+8", "192.0.2.0/8x", "::1/129", "fe80::1%1", "192.0.2"})
        EXPECT_FALSE(AddressRange::Parse(None)) << None;
}
