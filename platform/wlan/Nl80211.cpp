#include "platform/wlan/Nl80211.h"

#include <array>
#include <cstring>

#include <linux/nl80211.h>
#include <net/if.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

namespace Zn
{
namespace
{

/// What the answers to one question add up to.
struct Answer
{
    std::vector<WirelessInterface>* Interfaces;
    int Errno = 0;
    bool Done = false;
};

int TakeInterface(nl_msg* AMessage, void* AAnswer)
{
    auto* const Interfaces = static_cast<Answer*>(AAnswer)->Interfaces;
    std::array<nlattr*, NL80211_ATTR_MAX + 1> Attributes{};
    auto* const Head = static_cast<genlmsghdr*>(nlmsg_data(nlmsg_hdr(AMessage)));
    if (Interfaces == nullptr || nla_parse(Attributes.data(), NL80211_ATTR_MAX, genlmsg_attrdata(Head, 0),
                                           genlmsg_attrlen(Head, 0), nullptr) < 0)
        return NL_SKIP;
    const auto Get = [&](int AType, int ASize) -> nlattr* {
        nlattr* const Found = Attributes[static_cast<std::size_t>(AType)];
        return Found != nullptr && nla_len(Found) >= ASize ? Found : nullptr;
    };
    nlattr* const Device = Get(NL80211_ATTR_WDEV, 8);
    nlattr* const Index = Get(NL80211_ATTR_IFINDEX, 4);
    nlattr* const Name = Get(NL80211_ATTR_IFNAME, 1);
    nlattr* const Type = Get(NL80211_ATTR_IFTYPE, 4);
    if (Device == nullptr || Index == nullptr || Name == nullptr || Type == nullptr)
        return NL_SKIP; // a device without a network interface
    WirelessInterface Found;
    Found.Device = nla_get_u64(Device);
    Found.Index = nla_get_u32(Index);
    Found.Type = nla_get_u32(Type);
    Found.Name.assign(nla_get_string(Name),
                      strnlen(nla_get_string(Name), static_cast<std::size_t>(nla_len(Name))));
    Found.InNetwork = Get(NL80211_ATTR_SSID, 1) != nullptr;
    if (Found.Type == NL80211_IFTYPE_STATION || Found.Type == NL80211_IFTYPE_ADHOC)
        Interfaces->push_back(std::move(Found));
    return NL_SKIP;
}

int TakeEnd(nl_msg*, void* AAnswer)
{
    static_cast<Answer*>(AAnswer)->Done = true;
    return NL_STOP;
}

int TakeError(sockaddr_nl*, nlmsgerr* AError, void* AAnswer)
{
    auto& Result = *static_cast<Answer*>(AAnswer);
    Result.Errno = -AError->error;
    Result.Done = true;
    return NL_STOP;
}

/// libnl's own errors; those of the kernel come to TakeError as they are.
std::uint32_t FromLibnl(int AError)
{
    switch (-AError) {
    case NLE_NOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case NLE_AGAIN:
        return ERROR_TIMEOUT;
    case NLE_PERM:
        return ERROR_ACCESS_DENIED;
    default:
        return ERROR_GEN_FAILURE;
    }
}

std::uint32_t FromKernel(int AErrno)
{
    switch (AErrno) {
    case ENODEV:
    case ENOENT:
        return ERROR_NOT_FOUND;
    case EPERM:
        return ERROR_ACCESS_DENIED;
    case EINVAL:
    case ERANGE:
        return ERROR_INVALID_PARAMETER;
    default:
        return FromErrno(AErrno);
    }
}

} // namespace

void Nl80211::SocketFree::operator()(nl_sock* ASocket) const
{
    nl_socket_free(ASocket);
}

void Nl80211::MessageFree::operator()(nl_msg* AMessage) const
{
    nlmsg_free(AMessage);
}

bool IsInterfaceUp(const std::string& AName)
{
    ifreq Request{};
    const int Fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (Fd < 0 || AName.size() >= sizeof Request.ifr_name)
        return false;
    std::memcpy(Request.ifr_name, AName.data(), AName.size());
    const bool Up = ioctl(Fd, SIOCGIFFLAGS, &Request) == 0 && (Request.ifr_flags & IFF_UP) != 0;
    close(Fd);
    return Up;
}

std::uint32_t Nl80211::Open()
{
    FSocket.reset(nl_socket_alloc());
    if (!FSocket)
        return ERROR_NOT_ENOUGH_MEMORY;
    if (const int Result = genl_connect(FSocket.get()); Result < 0)
        return FromLibnl(Result);
    const timeval Limit{5, 0}; // the kernel answers at once; nobody waits for ever all the same
    setsockopt(nl_socket_get_fd(FSocket.get()), SOL_SOCKET, SO_RCVTIMEO, &Limit, sizeof Limit);
    FFamily = genl_ctrl_resolve(FSocket.get(), "nl80211");
    return FFamily < 0 ? ERROR_SERVICE_NOT_ACTIVE : NO_ERROR;
}

std::uint32_t Nl80211::List(std::vector<WirelessInterface>& AResult)
{
    AResult.clear();
    return Ask(NewMessage(NLM_F_DUMP, NL80211_CMD_GET_INTERFACE), &AResult);
}

std::uint32_t Nl80211::Scan(std::uint64_t ADevice, std::span<const std::uint8_t> ASsid,
                            std::span<const std::uint8_t> AElements)
{
    const Message Request = NewMessage(NLM_F_ACK, NL80211_CMD_TRIGGER_SCAN);
    if (!Request || nla_put_u64(Request.get(), NL80211_ATTR_WDEV, ADevice) < 0)
        return ERROR_NOT_ENOUGH_MEMORY;
    // One name; the empty one stands for all networks.
    nlattr* const Names = nla_nest_start(Request.get(), NL80211_ATTR_SCAN_SSIDS);
    if (Names == nullptr || nla_put(Request.get(), 1, static_cast<int>(ASsid.size()), ASsid.data()) < 0)
        return ERROR_NOT_ENOUGH_MEMORY;
    nla_nest_end(Request.get(), Names);
    if (!AElements.empty() &&
        nla_put(Request.get(), NL80211_ATTR_IE, static_cast<int>(AElements.size()), AElements.data()) < 0)
        return ERROR_NOT_ENOUGH_MEMORY;
    return Ask(Request, nullptr);
}

Nl80211::Message Nl80211::NewMessage(int AFlags, std::uint8_t ACommand) const
{
    Message Result(nlmsg_alloc());
    if (Result &&
        genlmsg_put(Result.get(), NL_AUTO_PORT, NL_AUTO_SEQ, FFamily, 0, AFlags, ACommand, 0) == nullptr)
        Result.reset();
    return Result;
}

std::uint32_t Nl80211::Ask(const Message& AMessage, std::vector<WirelessInterface>* AInterfaces)
{
    const std::unique_ptr<nl_cb, void (*)(nl_cb*)> Callbacks(nl_cb_alloc(NL_CB_DEFAULT), nl_cb_put);
    if (!AMessage || !Callbacks)
        return ERROR_NOT_ENOUGH_MEMORY;
    Answer Result{AInterfaces};
    nl_cb_set(Callbacks.get(), NL_CB_VALID, NL_CB_CUSTOM, TakeInterface, &Result);
    nl_cb_set(Callbacks.get(), NL_CB_FINISH, NL_CB_CUSTOM, TakeEnd, &Result);
    nl_cb_set(Callbacks.get(), NL_CB_ACK, NL_CB_CUSTOM, TakeEnd, &Result);
    nl_cb_err(Callbacks.get(), NL_CB_CUSTOM, TakeError, &Result);
    if (const int Sent = nl_send_auto(FSocket.get(), AMessage.get()); Sent < 0)
        return FromLibnl(Sent);
    while (!Result.Done) {
        if (const int Received = nl_recvmsgs(FSocket.get(), Callbacks.get()); Received < 0 && !Result.Done)
            return FromLibnl(Received);
    }
    return FromKernel(Result.Errno);
}

} // namespace Zn
