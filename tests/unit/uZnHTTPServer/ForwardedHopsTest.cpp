#include "uZnHTTPServer/ForwardedHops.h"

#include <gtest/gtest.h>

using namespace Zn;

namespace
{

AddressRanges Trusted()
{
    std::string Problem;
    return *ParseAddressRanges("10.0.0.0/8 2001:db8::/32", Problem);
}

std::string AddressOf(const ForwardedClient& AClient)
{
    return AClient.Address ? AddressText(*AClient.Address) : "";
}

} // namespace

TEST(ForwardedHops, TheNearestUntrustedHopIsTheClient)
{
    struct
    {
        const char* Field;
        const char* Client;
    } const Cases[] = {
        {"192.0.2.1", "192.0.2.1"},
        {"6.6.6.6, 192.0.2.1", "192.0.2.1"}, // the client wrote the first one
        {"6.6.6.6, 192.0.2.1, 10.0.0.2,2001:db8::7", "192.0.2.1"},
        {"10.0.0.1, 10.0.0.2", "10.0.0.1"}, // a client inside
        {"6.6.6.6, unknown, 10.0.0.2", "10.0.0.2"},
        {"6.6.6.6, _hidden", ""},
        {"6.6.6.6,, 192.0.2.1,", "192.0.2.1"},
        {"6.6.6.6, 192.0.2.1:8080", "192.0.2.1"},
        {"[2001:db9::1]:443", "2001:db9::1"},
        {"2001:db9::1", "2001:db9::1"},
        {"192.0.2.1:", ""},
        {"192.0.2.1:99999", ""},
        {"[::1", ""},
        {"[fe80::1%1]", ""},
        {"192.0.2.1x", ""},
        {"", ""},
    };
    for (const auto& Each : Cases)
        EXPECT_EQ(AddressOf(FindClient({ReadForwardedList(Each.Field), {}, {}}, Trusted())), Each.Client)
            << Each.Field;
}

TEST(ForwardedHops, ReadsForwardedByItsGrammar)
{
    struct
    {
        const char* Field;
        const char* Told; // address proto host, "-" where the field is refused
    } const Cases[] = {
        {"for=192.0.2.1", "192.0.2.1  "},
        {"For=\"[2001:db9::1]:4711\";Proto=HTTPS;host=\"a.example:8443\"",
         "2001:db9::1 https a.example:8443"},
        {"for=6.6.6.6;proto=http;host=evil, for=192.0.2.1;proto=https;by=10.0.0.1 , for=10.0.0.2;host=inner",
         "192.0.2.1 https "},
        {"for=\"192.0\\.2.1\"", "192.0.2.1  "},
        {"for=unknown;proto=https", " https "},
        {"proto=ftp", "  "},
        {"for=192.0.2.1;for=192.0.2.2", "-"},
        {"for=192.0.2.1,", "-"},
        {"for=192.0.2.1; ", "-"},
        {"for=[2001:db9::1]", "-"}, // has to stand in quotes
        {"for = 192.0.2.1", "-"},
        {"for=\"192.0.2.1", "-"},
        {"for=\"192.0.2.1\\", "-"},
        {"192.0.2.1", "-"},
    };
    for (const auto& Each : Cases) {
        const auto Hops = ReadForwarded(Each.Field);
        const ForwardedClient Client = Hops ? FindClient(*Hops, Trusted()) : ForwardedClient{};
        EXPECT_EQ(Hops ? AddressOf(Client) + " " + Client.Proto + " " + Client.Host : "-", Each.Told)
            << Each.Field;
    }
}
