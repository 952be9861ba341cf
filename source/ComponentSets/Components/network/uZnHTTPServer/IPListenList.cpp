#include <algorithm>

#include "common/Text.h"
#include "platform/iphelper/Addresses.h"
#include "uZnHTTPServer/ConfigurationLists.h"
#include "uZnHTTPServer/ConfigurationQuery.h"
#include "uZnIPHelper.h"

namespace
{

constexpr std::uint16_t cPort = 8080; // the table keeps addresses only

/// An address as the service takes it.
struct TSocketAddress
{
    sockaddr_storage Address{};
    std::uint16_t Length = 0;

    template <class T>
    void Set(const T& AAddress)
    {
        std::memcpy(&Address, &AAddress, sizeof AAddress);
        Length = sizeof AAddress;
    }
};

[[noreturn]] void RaiseInvalidAddress()
{
    throw Exception("Invalid IPAddress!");
}

/// What stands behind "%"; 0 without one.
std::uint32_t ScopeIn(const std::string& AText)
{
    const std::size_t Percent = AText.find('%');
    if (Percent == std::string::npos)
        return 0;
    const auto Scope = ZnParseInt<std::uint32_t>(std::string_view(AText).substr(Percent + 1));
    if (!Scope)
        RaiseInvalidAddress();
    return *Scope;
}

TSocketAddress SocketAddress(const std::string& AText, bool AWithScope)
{
    TSocketAddress Result;
    sockaddr_in IPv4{};
    sockaddr_in6 IPv6{};
    if (ZnStrToIPAddr(AText, IPv4.sin_addr)) {
        IPv4.sin_family = AF_INET;
        IPv4.sin_port = htons(cPort);
        Result.Set(IPv4);
    } else if (ZnStrToIPAddr(AText, IPv6.sin6_addr)) {
        IPv6.sin6_family = AF_INET6;
        IPv6.sin6_port = htons(cPort);
        IPv6.sin6_scope_id = AWithScope ? ScopeIn(AText) : 0;
        Result.Set(IPv6);
    } else {
        RaiseInvalidAddress();
    }
    return Result;
}

template <class TOperation>
void Change(TOperation AOperation, const TSocketAddress& AAddress)
{
    const THTTP_SERVICE_CONFIG_IP_LISTEN_PARAM Record{AAddress.Length,
                                                      reinterpret_cast<const sockaddr*>(&AAddress.Address)};
    CheckResult(AOperation(0, HttpServiceConfigIPListenList, &Record, sizeof Record, nullptr));
}

} // namespace

TZnHTTPServerIPListenList::TZnHTTPServerIPListenList(TZnHTTPServerConfiguration* AOwner) : FOwner(AOwner)
{
    Refresh();
}

void TZnHTTPServerIPListenList::Refresh()
{
    constexpr std::size_t cSlots = offsetof(THTTP_SERVICE_CONFIG_IP_LISTEN_QUERY, AddrList);

    FList.Clear();
    std::unique_ptr<Zn::ConfigurationAnswer> Answer;
    const std::uint32_t Result = Zn::QueryConfiguration(HttpServiceConfigIPListenList, nullptr, 0, Answer);
    if (Result == ERROR_FILE_NOT_FOUND || Result == ERROR_NOT_FOUND)
        return;
    if (!Answer) {
        CheckResult(Result);
        return;
    }
    const std::size_t Fitting =
        Answer->Length() < cSlots ? 0 : (Answer->Length() - cSlots) / sizeof(sockaddr_storage);
    const std::size_t Count = std::min<std::size_t>(Answer->Record<std::uint32_t>(), Fitting);
    for (std::size_t Index = 0; Index < Count; ++Index)
        FList.Add(ZnIPAddrToStr(
            reinterpret_cast<const sockaddr*>(Answer->Bytes() + cSlots + Index * sizeof(sockaddr_storage))));
}

void TZnHTTPServerIPListenList::Add(const std::string& AIPAddress)
{
    Change(Zn::HttpApi.HttpSetServiceConfiguration, SocketAddress(AIPAddress, false));
    Refresh();
}

void TZnHTTPServerIPListenList::Delete(int AIndex)
{
    Delete(std::string(FList[AIndex]));
}

void TZnHTTPServerIPListenList::Delete(const std::string& AIPAddress)
{
    Change(Zn::HttpApi.HttpDeleteServiceConfiguration, SocketAddress(AIPAddress, true));
    Refresh();
}
