#include "uZnTCPClient/ClientSocket.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "platform/errors/Errors.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

std::string TextOf(const Zn::Endpoint& AEndpoint)
{
    return AEndpoint.Length == 0 ? std::string() : Zn::AddressText(AEndpoint);
}

std::uint16_t PortFrom(const Zn::Endpoint& AEndpoint)
{
    return AEndpoint.Length == 0 ? std::uint16_t{0} : Zn::PortOf(AEndpoint);
}

/// The host's addresses in the order in which the system wants them tried. 0 or the resolver's number.
std::uint32_t Resolve(const std::string& AHost, std::uint16_t APort, std::vector<Zn::Endpoint>& AResult)
{
    if (AHost.empty() || AHost.find('\0') != std::string::npos)
        return WSAHOST_NOT_FOUND;
    InitializeWinsock();
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    ZnAssert(Functions.GetAddrInfoW != nullptr, "GetAddrInfoW is missing in ws2_32.dll");
    ADDRINFOW Hints{};
    Hints.ai_socktype = SOCK_STREAM;
    ADDRINFOW* First = nullptr;
    // The service is given as text, so that the system sets the port of every address.
    const int Error = Functions.GetAddrInfoW(Utf16FromUtf8(AHost).c_str(),
                                             Utf16FromUtf8(std::to_string(APort)).c_str(), &Hints, &First);
    if (Error != 0)
        return static_cast<std::uint32_t>(Error);
    for (const ADDRINFOW* Each = First; Each != nullptr; Each = Each->ai_next) {
        if (const auto Found = Zn::EndpointFromAddress(Each->ai_addr, Each->ai_addrlen))
            AResult.push_back(*Found);
    }
    if (Functions.FreeAddrInfo != nullptr)
        Functions.FreeAddrInfo(First);
    return AResult.empty() ? WSAHOST_NOT_FOUND : NO_ERROR;
}

/// Tries one address after another; each may use what is left of the time, divided by those still to come.
std::uint32_t ConnectToFirst(Zn::TcpSocket& ASocket, const std::vector<Zn::Endpoint>& ATargets,
                             std::chrono::milliseconds ATimeOut)
{
    using TClock = std::chrono::steady_clock;
    const auto End = TClock::now() + ATimeOut;
    std::uint32_t Error = WSAHOST_NOT_FOUND;
    for (std::size_t Index = 0; Index < ATargets.size(); ++Index) {
        const auto Left = std::chrono::duration_cast<std::chrono::milliseconds>(End - TClock::now());
        const auto Share = Left / static_cast<std::int64_t>(ATargets.size() - Index);
        Error = ASocket.Connect(ATargets[Index], Share);
        if (Error == NO_ERROR)
            break;
    }
    return Error;
}

} // namespace

std::string TCustomWinSocket::GetLocalAddress() const
{
    return TextOf(FSocket.Local());
}

std::uint16_t TCustomWinSocket::GetLocalPort() const
{
    return PortFrom(FSocket.Local());
}

std::string TCustomWinSocket::GetRemoteAddress() const
{
    return TextOf(FSocket.Remote());
}

std::uint16_t TCustomWinSocket::GetRemotePort() const
{
    return PortFrom(FSocket.Remote());
}

TClientSocket::~TClientSocket() = default;

void TClientSocket::SetHost(const std::string& AValue)
{
    CheckInactive();
    FHost = AValue;
}

void TClientSocket::SetAddress(const std::string& AValue)
{
    CheckInactive();
    FAddress = AValue;
}

void TClientSocket::SetPort(std::int32_t AValue)
{
    CheckInactive();
    if (AValue < 0 || AValue > 0xFFFF)
        throw EInvalidArgument(ZnFormat("%d is no TCP port", AValue));
    FPort = AValue;
}

void TClientSocket::SetActive(bool AValue)
{
    if (AValue == GetActive())
        return;
    if (AValue)
        DoOpen();
    else
        DoClose();
}

void TClientSocket::DoOpen()
{
    const std::string& Host = FHost.empty() ? FAddress : FHost;
    const std::string Target = Host + ":" + std::to_string(FPort);
    std::vector<Zn::Endpoint> Addresses;
    DoEvent(FOnLookup);
    if (const std::uint32_t Error = Resolve(Host, static_cast<std::uint16_t>(FPort), Addresses); Error != 0)
        RaiseError(Error, "The host \"" + Host + "\" could not be found!");
    DoEvent(FOnConnecting);
    const std::uint32_t Error =
        ConnectToFirst(FSocket.FSocket, Addresses, std::chrono::milliseconds(FConnectTimeOut));
    if (Error != NO_ERROR)
        RaiseError(Error, "No connection to " + Target + "!");
    DoEvent(FOnConnect);
}

void TClientSocket::DoClose()
{
    DoEvent(FOnDisconnect);
    FSocket.FSocket.Close();
}

void TClientSocket::DoEvent(const TSocketNotifyEvent& AEvent)
{
    if (AEvent)
        AEvent(this, FSocket);
}

void TClientSocket::RaiseError(std::uint32_t AError, const std::string& AWhat)
{
    auto Code = static_cast<std::int32_t>(AError);
    if (FOnError)
        FOnError(this, FSocket, Code);
    if (Code == 0) {
        SetActive(false);
        throw EAbort();
    }
    throw ESocketError(Code, AWhat);
}

void TClientSocket::CheckInactive() const
{
    if (GetActive())
        throw Exception("Can't change the address of an open socket!");
}
