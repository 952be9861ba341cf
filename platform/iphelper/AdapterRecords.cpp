#include "platform/iphelper/AdapterRecords.h"

#include <algorithm>
#include <new>

#include "platform/text/Unicode.h"

namespace
{

constexpr std::size_t Padded(std::size_t ASize)
{
    return (ASize + alignof(std::max_align_t) - 1) / alignof(std::max_align_t) * alignof(std::max_align_t);
}

constexpr std::size_t cAddressSize = Padded(sizeof(sockaddr_in6)); // of either family
constexpr std::size_t cUnicastSize = Padded(sizeof(IP_ADAPTER_UNICAST_ADDRESS)) + cAddressSize;
constexpr std::size_t cServerSize = Padded(sizeof(IP_ADAPTER_SERVER_ADDRESS)) + cAddressSize;

bool IsLinkLocal(const sockaddr_in6& AAddress)
{
    return IN6_IS_ADDR_LINKLOCAL(&AAddress.sin6_addr);
}

/// Writes records one behind the other.
class TRecordWriter
{
public:
    explicit TRecordWriter(void* ABuffer) : FNext(static_cast<std::byte*>(ABuffer)) {}

    IP_ADAPTER_ADDRESSES* Write(const Zn::TAdapter& AAdapter)
    {
        auto* const Record = New<IP_ADAPTER_ADDRESSES>();
        const Zn::TLink& Link = AAdapter.Link;
        Record->IfIndex = static_cast<std::uint32_t>(Link.Index);
        Record->Mtu = Link.Mtu;
        Record->AdapterName = Text(Link.Name);
        Record->Description = Text(AAdapter.Description);
        std::copy(Link.HardwareAddress.begin(), Link.HardwareAddress.end(), Record->PhysicalAddress);
        Record->PhysicalAddressLength = Link.HardwareAddressLength;
        Record->FirstUnicastAddress = Unicasts(AAdapter);
        Record->FirstGatewayAddress = Servers(AAdapter.Gateways, Link.Index);
        Record->FirstDnsServerAddress = Servers(AAdapter.NameServers, Link.Index);
        return Record;
    }

private:
    template <typename T>
    T* New()
    {
        return new (Take(sizeof(T))) T;
    }

    std::byte* Take(std::size_t ASize)
    {
        std::byte* const Result = FNext;
        FNext += Padded(ASize);
        return Result;
    }

    template <typename TChar>
    TChar* Text(const std::basic_string<TChar>& AText)
    {
        auto* const Result = reinterpret_cast<TChar*>(Take((AText.size() + 1) * sizeof(TChar)));
        AText.copy(Result, AText.size());
        Result[AText.size()] = 0;
        return Result;
    }

    SOCKET_ADDRESS Address(const Zn::TAnyAddress& AAddress, int AIndex)
    {
        std::byte* const At = Take(sizeof(sockaddr_in6));
        if (AAddress.Family == AF_INET) {
            auto* const V4 = new (At) sockaddr_in{};
            V4->sin_family = AF_INET;
            std::memcpy(&V4->sin_addr, AAddress.Bytes.data(), sizeof(V4->sin_addr));
            return {reinterpret_cast<sockaddr*>(V4), sizeof(sockaddr_in)};
        }
        auto* const V6 = new (At) sockaddr_in6{};
        V6->sin6_family = AF_INET6;
        std::memcpy(&V6->sin6_addr, AAddress.Bytes.data(), sizeof(V6->sin6_addr));
        if (IsLinkLocal(*V6))
            V6->sin6_scope_id = static_cast<std::uint32_t>(AIndex);
        return {reinterpret_cast<sockaddr*>(V6), sizeof(sockaddr_in6)};
    }

    IP_ADAPTER_UNICAST_ADDRESS* Unicasts(const Zn::TAdapter& AAdapter)
    {
        IP_ADAPTER_UNICAST_ADDRESS* First = nullptr;
        IP_ADAPTER_UNICAST_ADDRESS** Last = &First;
        for (const Zn::TUnicast& Entry : AAdapter.Addresses) {
            auto* const Record = New<IP_ADAPTER_UNICAST_ADDRESS>();
            Record->Address = Address(Entry.Address, Entry.Index);
            Record->OnLinkPrefixLength = Entry.PrefixLength;
            const Zn::TOrigins Origins = Zn::OriginsOf(Entry, AAdapter.Link);
            Record->PrefixOrigin = Origins.Prefix;
            Record->SuffixOrigin = Origins.Suffix;
            *Last = Record;
            Last = &Record->Next;
        }
        return First;
    }

    IP_ADAPTER_SERVER_ADDRESS* Servers(const std::vector<Zn::TAnyAddress>& AServers, int AIndex)
    {
        IP_ADAPTER_SERVER_ADDRESS* First = nullptr;
        IP_ADAPTER_SERVER_ADDRESS** Last = &First;
        for (const Zn::TAnyAddress& Entry : AServers) {
            auto* const Record = New<IP_ADAPTER_SERVER_ADDRESS>();
            Record->Address = Address(Entry, AIndex);
            *Last = Record;
            Last = &Record->Next;
        }
        return First;
    }

    std::byte* FNext;
};

std::size_t RecordSize(const Zn::TAdapter& AAdapter)
{
    return Padded(sizeof(IP_ADAPTER_ADDRESSES)) + Padded(AAdapter.Link.Name.size() + 1) +
           Padded((AAdapter.Description.size() + 1) * sizeof(char16_t)) +
           AAdapter.Addresses.size() * cUnicastSize +
           (AAdapter.Gateways.size() + AAdapter.NameServers.size()) * cServerSize;
}

} // namespace

std::vector<Zn::TAdapter> Zn::AdaptersOf(const TSnapshot& ASnapshot, const std::vector<TNameServer>& AServers,
                                         std::uint32_t AFamily, std::uint32_t AFlags)
{
    const auto IsWanted = [AFamily](const TAnyAddress& AAddress) {
        return AFamily == AF_UNSPEC || AAddress.Family == AFamily;
    };
    std::vector<TAdapter> Result;
    Result.reserve(ASnapshot.Links.size());
    for (const TLink& Link : ASnapshot.Links) {
        TAdapter Adapter;
        Adapter.Link = Link;
        Adapter.Description = Utf16FromUtf8(DescriptionOf(Link));
        if ((AFlags & GAA_FLAG_SKIP_UNICAST) == 0) {
            for (const TUnicast& Entry : EntriesOf(ASnapshot.Addresses, Link.Index)) {
                if (IsWanted(Entry.Address))
                    Adapter.Addresses.push_back(Entry);
            }
        }
        if ((AFlags & GAA_FLAG_INCLUDE_GATEWAYS) != 0) {
            for (const TGateway& Entry : EntriesOf(ASnapshot.Gateways, Link.Index)) {
                if (IsWanted(Entry.Address))
                    Adapter.Gateways.push_back(Entry.Address);
            }
        }
        if ((AFlags & GAA_FLAG_SKIP_DNS_SERVER) == 0) {
            Adapter.NameServers = NameServersOf(Link.Index, AServers, ASnapshot);
            std::erase_if(Adapter.NameServers, [&](const TAnyAddress& A) { return !IsWanted(A); });
        }
        Result.push_back(std::move(Adapter));
    }
    std::stable_partition(Result.begin(), Result.end(),
                          [](const TAdapter& AAdapter) { return !AAdapter.Link.IsLoopback(); });
    return Result;
}

std::size_t Zn::RecordsSize(const std::vector<TAdapter>& AAdapters)
{
    std::size_t Size = 0;
    for (const TAdapter& Adapter : AAdapters)
        Size += RecordSize(Adapter);
    return Size;
}

void Zn::WriteRecords(const std::vector<TAdapter>& AAdapters, void* ABuffer)
{
    TRecordWriter Writer(ABuffer);
    IP_ADAPTER_ADDRESSES* Last = nullptr;
    for (const TAdapter& Adapter : AAdapters) {
        IP_ADAPTER_ADDRESSES* const Record = Writer.Write(Adapter);
        if (Last)
            Last->Next = Record;
        Last = Record;
    }
}
