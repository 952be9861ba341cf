#include "platform/iphelper/NameServers.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>

#include <systemd/sd-bus.h>
#include <unistd.h>

#include "platform/iphelper/AddressParse.h"
#include "platform/iphelper/SystemBus.h"

namespace
{

constexpr std::size_t cLongestResolvConf = 64 * 1024;
constexpr std::string_view cBlanks = " \t";

std::string ReadResolvConf()
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> File(std::fopen("/etc/resolv.conf", "re"),
                                                               std::fclose);
    std::string Text;
    if (File) {
        Text.resize(cLongestResolvConf);
        Text.resize(std::fread(Text.data(), 1, Text.size(), File.get()));
    }
    return Text;
}

/// The first word of AText, taken off it.
std::string_view TakeWord(std::string_view& AText)
{
    AText.remove_prefix(std::min(AText.find_first_not_of(cBlanks), AText.size()));
    const std::size_t Length = std::min(AText.find_first_of(" \t\r"), AText.size());
    const std::string_view Word = AText.substr(0, Length);
    AText.remove_prefix(Length);
    return Word;
}

template <typename T>
bool ReadAddress(std::string_view AText, std::uint8_t AFamily, Zn::TAnyAddress& AAddress)
{
    T Address;
    if (AText.empty() || Zn::ParseAddress(AText, Address) != AText.size())
        return false;
    AAddress.Family = AFamily;
    std::memcpy(AAddress.Bytes.data(), &Address, sizeof(Address));
    return true;
}

int IndexOf(std::string_view AScope, const std::vector<Zn::TLink>& ALinks)
{
    int Index = 0;
    const char* const End = AScope.data() + AScope.size();
    if (std::from_chars(AScope.data(), End, Index).ptr == End)
        return Index;
    const auto Found = std::find_if(ALinks.begin(), ALinks.end(),
                                    [AScope](const Zn::TLink& ALink) { return ALink.Name == AScope; });
    return Found == ALinks.end() ? 0 : Found->Index;
}

bool ReadServer(std::string_view AText, const std::vector<Zn::TLink>& ALinks, Zn::TNameServer& AServer)
{
    if (ReadAddress<in_addr>(AText, AF_INET, AServer.Address))
        return true;
    const std::size_t Percent = AText.find('%');
    if (Percent != std::string_view::npos)
        AServer.Index = IndexOf(AText.substr(Percent + 1), ALinks);
    return ReadAddress<in6_addr>(AText.substr(0, Percent), AF_INET6, AServer.Address);
}

/// One "(iiay)" of systemd-resolved: interface, family, address. False at the list's end.
bool ReadBusServer(sd_bus_message* AReply, std::vector<Zn::TNameServer>& AServers)
{
    if (sd_bus_message_enter_container(AReply, 'r', "iiay") <= 0)
        return false;
    int Index = 0;
    int Family = 0;
    const void* Bytes = nullptr;
    std::size_t Size = 0;
    if (sd_bus_message_read(AReply, "ii", &Index, &Family) < 0 ||
        sd_bus_message_read_array(AReply, 'y', &Bytes, &Size) < 0 ||
        sd_bus_message_exit_container(AReply) < 0)
        return false;
    if (Size == (Family == AF_INET ? 4U : 16U)) {
        Zn::TNameServer Server{Index, {static_cast<std::uint8_t>(Family), {}}};
        std::memcpy(Server.Address.Bytes.data(), Bytes, Size);
        AServers.push_back(Server);
    }
    return true;
}

/// False where systemd-resolved doesn't run, or doesn't answer.
bool AskResolved(std::vector<Zn::TNameServer>& AServers)
{
    // Asked without need the bus would start the service.
    if (access("/run/systemd/resolve", F_OK) != 0)
        return false;
    Zn::TSystemBus Bus;
    const Zn::TBusReply Reply = Bus.GetProperty(
        {"org.freedesktop.resolve1", "/org/freedesktop/resolve1", "org.freedesktop.resolve1.Manager"}, "DNS",
        "a(iiay)");
    if (!Reply || sd_bus_message_enter_container(Reply.get(), 'a', "(iiay)") < 0)
        return false;
    while (ReadBusServer(Reply.get(), AServers))
        continue;
    return true;
}

bool SharesPrefix(const Zn::TUnicast& AAddress, const Zn::TAnyAddress& AServer)
{
    if (AAddress.Address.Family != AServer.Family)
        return false;
    const std::size_t Whole = AAddress.PrefixLength / 8U;
    const unsigned Rest = AAddress.PrefixLength % 8U;
    const auto& A = AAddress.Address.Bytes;
    const auto& B = AServer.Bytes;
    if (Whole >= A.size())
        return A == B;
    return std::equal(A.begin(), A.begin() + static_cast<std::ptrdiff_t>(Whole), B.begin()) &&
           (Rest == 0 || (A[Whole] ^ B[Whole]) >> (8 - Rest) == 0);
}

} // namespace

std::vector<Zn::TNameServer> Zn::ParseResolvConf(std::string_view AText, const std::vector<TLink>& ALinks)
{
    std::vector<TNameServer> Result;
    while (!AText.empty()) {
        const std::size_t End = std::min(AText.find('\n'), AText.size());
        std::string_view Line = AText.substr(0, End);
        AText.remove_prefix(std::min(End + 1, AText.size()));
        TNameServer Server;
        if (TakeWord(Line) == "nameserver" && ReadServer(TakeWord(Line), ALinks, Server))
            Result.push_back(Server);
    }
    return Result;
}

std::vector<Zn::TNameServer> Zn::ReadNameServers(const std::vector<TLink>& ALinks)
{
    std::vector<TNameServer> Servers;
    if (AskResolved(Servers))
        return Servers;
    return ParseResolvConf(ReadResolvConf(), ALinks);
}

std::vector<Zn::TAnyAddress> Zn::NameServersOf(int AIndex, const std::vector<TNameServer>& AServers,
                                               const TSnapshot& ASnapshot)
{
    const bool HasGateway = std::ranges::binary_search(ASnapshot.Gateways, AIndex, {}, &TGateway::Index);
    const std::span<const TUnicast> Addresses = EntriesOf(ASnapshot.Addresses, AIndex);
    std::vector<TAnyAddress> Result;
    for (const TNameServer& Server : AServers) {
        const auto Reaches = [&](const TUnicast& AAddress) { return SharesPrefix(AAddress, Server.Address); };
        const bool IsOurs = Server.Index != 0            ? Server.Index == AIndex
                            : ASnapshot.Gateways.empty() ? std::ranges::any_of(Addresses, Reaches)
                                                         : HasGateway;
        if (IsOurs && std::find(Result.begin(), Result.end(), Server.Address) == Result.end())
            Result.push_back(Server.Address);
    }
    return Result;
}
