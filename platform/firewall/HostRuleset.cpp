#include "platform/firewall/HostFirewall.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include <arpa/inet.h>
#include <linux/netfilter.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace Zn
{
namespace
{

using Bytes = std::span<const std::byte>;

/// One attribute of a message: its type without the flag bits, and what it holds.
struct Attribute
{
    std::uint16_t Type;
    Bytes Value;

    /// 0 where the value has another size.
    std::uint32_t Number() const
    {
        std::uint32_t Result = 0;
        if (Value.size() == sizeof Result)
            std::memcpy(&Result, Value.data(), sizeof Result);
        return ntohl(Result);
    }
    std::string Text() const
    {
        const auto* const Data = reinterpret_cast<const char*>(Value.data());
        return {Data, strnlen(Data, Value.size())};
    }
};

/// Gives the attributes one after another; stops where a length doesn't fit.
void ForEachAttribute(Bytes ABytes, const std::function<void(const Attribute&)>& ATake)
{
    while (ABytes.size() >= sizeof(nlattr)) {
        nlattr Head{};
        std::memcpy(&Head, ABytes.data(), sizeof Head);
        if (Head.nla_len < sizeof Head || Head.nla_len > ABytes.size())
            return;
        ATake({static_cast<std::uint16_t>(Head.nla_type & NLA_TYPE_MASK),
               ABytes.subspan(sizeof Head, Head.nla_len - sizeof Head)});
        ABytes = ABytes.subspan(std::min<std::size_t>(NLA_ALIGN(Head.nla_len), ABytes.size()));
    }
}

/// A connection to the kernel's packet filter.
class Netfilter
{
public:
    Netfilter() : FFd(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_NETFILTER))
    {
        const timeval Limit{2, 0}; // the kernel answers at once; nobody waits for ever all the same
        if (FFd >= 0)
            setsockopt(FFd, SOL_SOCKET, SO_RCVTIMEO, &Limit, sizeof Limit);
    }
    ~Netfilter()
    {
        if (FFd >= 0)
            close(FFd);
    }
    Netfilter(const Netfilter&) = delete;
    Netfilter& operator=(const Netfilter&) = delete;

    /// Asks for all objects of a kind, of every family. False where the kernel refuses, or the ruleset
    /// changed underneath.
    bool Dump(std::uint8_t AKind, const std::function<void(std::uint8_t AFamily, Bytes AAttributes)>& ATake)
    {
        struct
        {
            nlmsghdr Head;
            nfgenmsg Family;
        } Request{};
        Request.Head.nlmsg_len = sizeof Request;
        Request.Head.nlmsg_type = static_cast<std::uint16_t>(NFNL_SUBSYS_NFTABLES << 8 | AKind);
        Request.Head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        Request.Head.nlmsg_seq = ++FSequence;
        Request.Family.nfgen_family = NFPROTO_UNSPEC;
        Request.Family.version = NFNETLINK_V0;
        if (FFd < 0 || send(FFd, &Request, sizeof Request, 0) != static_cast<ssize_t>(sizeof Request))
            return false;
        for (;;) {
            const ssize_t Length = recv(FFd, FBuffer.data(), FBuffer.size(), MSG_TRUNC);
            if (Length < 0 && errno == EINTR)
                continue;
            if (Length <= 0 || static_cast<std::size_t>(Length) > FBuffer.size())
                return false;
            if (const auto Ended =
                    ReadMessages(Bytes(FBuffer).first(static_cast<std::size_t>(Length)), ATake))
                return *Ended;
        }
    }

private:
    /// Nothing while more is to come.
    std::optional<bool> ReadMessages(Bytes ABytes,
                                     const std::function<void(std::uint8_t, Bytes)>& ATake) const
    {
        while (ABytes.size() >= sizeof(nlmsghdr)) {
            nlmsghdr Head{};
            std::memcpy(&Head, ABytes.data(), sizeof Head);
            if (Head.nlmsg_len < sizeof Head || Head.nlmsg_len > ABytes.size())
                return false;
            if (Head.nlmsg_type == NLMSG_ERROR || (Head.nlmsg_flags & NLM_F_DUMP_INTR) != 0)
                return false;
            if (Head.nlmsg_type == NLMSG_DONE)
                return true;
            const Bytes Body = ABytes.subspan(sizeof Head, Head.nlmsg_len - sizeof Head);
            if (Head.nlmsg_seq == FSequence && Body.size() >= sizeof(nfgenmsg))
                ATake(static_cast<std::uint8_t>(Body[0]), Body.subspan(sizeof(nfgenmsg)));
            ABytes = ABytes.subspan(std::min<std::size_t>(NLMSG_ALIGN(Head.nlmsg_len), ABytes.size()));
        }
        return std::nullopt;
    }

    int FFd;
    std::uint32_t FSequence = 0;
    std::array<std::byte, 65536> FBuffer; // a dump's datagrams are at most half as long
};

using TableName = std::pair<std::uint8_t, std::string>;

/// Tables that are there and switched off.
bool ReadDormantTables(Netfilter& ANetfilter, std::set<TableName>& ATables)
{
    return ANetfilter.Dump(NFT_MSG_GETTABLE, [&](std::uint8_t AFamily, Bytes AAttributes) {
        std::string Name;
        std::uint32_t Flags = 0;
        ForEachAttribute(AAttributes, [&](const Attribute& AAttribute) {
            if (AAttribute.Type == NFTA_TABLE_NAME)
                Name = AAttribute.Text();
            else if (AAttribute.Type == NFTA_TABLE_FLAGS)
                Flags = AAttribute.Number();
        });
        if ((Flags & NFT_TABLE_F_DORMANT) != 0)
            ATables.emplace(AFamily, std::move(Name));
    });
}

struct Chain
{
    std::string Table;
    std::string Type;         // "filter", "nat", "route"; empty for a chain that others jump to
    std::uint32_t Hook = ~0U; // NF_INET_...
    std::uint32_t Policy = NF_ACCEPT;
    std::uint32_t Count = 0; // of its rules

    bool Filters() const
    {
        return Type == "filter" && Hook == NF_INET_LOCAL_IN && (Policy == NF_DROP || Count > 0);
    }
};

Chain ReadChain(Bytes AAttributes)
{
    Chain Result;
    ForEachAttribute(AAttributes, [&](const Attribute& AAttribute) {
        switch (AAttribute.Type) {
        case NFTA_CHAIN_TABLE:
            Result.Table = AAttribute.Text();
            break;
        case NFTA_CHAIN_TYPE:
            Result.Type = AAttribute.Text();
            break;
        case NFTA_CHAIN_POLICY:
            Result.Policy = AAttribute.Number();
            break;
        case NFTA_CHAIN_USE: // nobody jumps to a chain with a hook: what uses it are its rules
            Result.Count = AAttribute.Number();
            break;
        case NFTA_CHAIN_HOOK:
            ForEachAttribute(AAttribute.Value, [&](const Attribute& AInner) {
                if (AInner.Type == NFTA_HOOK_HOOKNUM)
                    Result.Hook = AInner.Number();
            });
            break;
        default:
            break;
        }
    });
    return Result;
}

bool FiltersInput(std::uint8_t AFamily)
{
    return AFamily == NFPROTO_INET || AFamily == NFPROTO_IPV4 || AFamily == NFPROTO_IPV6;
}

} // namespace

FirewallState HostRuleset()
{
    constexpr int Attempts = 3; // a dump that a change runs into is asked for again
    for (int Attempt = 0; Attempt < Attempts; ++Attempt) {
        Netfilter Connection;
        std::set<TableName> Dormant;
        bool On = false;
        const auto Look = [&](std::uint8_t AFamily, Bytes AAttributes) {
            const Chain Found = ReadChain(AAttributes);
            On =
                On || (FiltersInput(AFamily) && Found.Filters() && !Dormant.contains({AFamily, Found.Table}));
        };
        if (ReadDormantTables(Connection, Dormant) && Connection.Dump(NFT_MSG_GETCHAIN, Look))
            return On ? FirewallState::On : FirewallState::Off;
    }
    return FirewallState::Unknown;
}

} // namespace Zn
