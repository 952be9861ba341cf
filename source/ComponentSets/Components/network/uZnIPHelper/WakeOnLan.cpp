#include "uZnIPHelper/WakeOnLan.h"

#include <algorithm>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Text.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

constexpr int cPasses = 10;                // datagrams get lost, and a card that sleeps is slow to notice
constexpr std::uint16_t cPorts[] = {9, 7}; // discard, echo

/// A socket that is closed whatever becomes of the packet.
class TDatagramSocket
{
public:
    explicit TDatagramSocket(const Zn::TSystemFunctions& AFunctions)
        : FFunctions(AFunctions), FSocket(AFunctions.Socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP))
    {
        if (FSocket < 0)
            throw EAbort("Failed to create a socket");
    }
    ~TDatagramSocket() { FFunctions.CloseSocket(FSocket); }
    TDatagramSocket(const TDatagramSocket&) = delete;
    TDatagramSocket& operator=(const TDatagramSocket&) = delete;

    int Number() const { return FSocket; }

private:
    const Zn::TSystemFunctions& FFunctions;
    int FSocket;
};

sockaddr_in Anywhere()
{
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    return Address;
}

std::uint16_t NetworkOrder(std::uint16_t APort)
{
    return htons(APort);
}

bool HasSocketFunctions(const Zn::TSystemFunctions& AFunctions)
{
    return AFunctions.Socket && AFunctions.Bind && AFunctions.SetSockOpt && AFunctions.SendTo &&
           AFunctions.CloseSocket && AFunctions.InetAddr;
}

/// Raises EAbort where there is no socket to send with.
bool SendMagicPacket(const std::string& AMac, const std::string& AIPAddress)
{
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    if (!HasSocketFunctions(Functions))
        throw EAbort("Failed to create a socket");
    const TDatagramSocket Socket(Functions);
    const sockaddr_in Local = Anywhere();
    if (Functions.Bind(Socket.Number(), reinterpret_cast<const sockaddr*>(&Local), sizeof(Local)) != 0)
        throw EAbort("Failed to bind a socket!");
    const int On = 1;
    if (Functions.SetSockOpt(Socket.Number(), SOL_SOCKET, SO_BROADCAST, &On, sizeof(On)) != 0)
        throw EAbort("Failed to set the socket options!");

    const auto Packet = Zn::MagicPacket(AMac);
    sockaddr_in Target = Anywhere();
    Target.sin_addr.s_addr =
        AIPAddress.empty() ? INADDR_BROADCAST
                           : Functions.InetAddr(TZnEncoding::ConvertW(AIPAddress, cZnCodePageSystem).c_str());
    bool LastPassWentOut = false;
    for (int Pass = 0; Pass < cPasses; ++Pass) {
        LastPassWentOut = true;
        for (const std::uint16_t Port : cPorts) {
            Target.sin_port = NetworkOrder(Port);
            const auto Sent = Functions.SendTo(Socket.Number(), Packet.data(), Packet.size(), 0,
                                               reinterpret_cast<const sockaddr*>(&Target), sizeof(Target));
            LastPassWentOut = LastPassWentOut && Sent >= 0;
        }
    }
    return LastPassWentOut;
}

/// The digits alone, from 12 characters or 17 with separators; empty for any other length.
std::string DigitsOf(const std::string& AMacAddress)
{
    if (AMacAddress.size() == 12)
        return AMacAddress;
    std::string Digits;
    if (AMacAddress.size() == 17) {
        for (std::size_t Index = 0; Index < AMacAddress.size(); ++Index) {
            if (Index % 3 != 2)
                Digits.push_back(AMacAddress[Index]);
        }
    }
    return Digits;
}

} // namespace

std::array<std::uint8_t, Zn::cMagicPacketSize> Zn::MagicPacket(const std::string& AMac)
{
    std::array<std::uint8_t, cMagicPacketSize> Packet;
    Packet.fill(0xFF);
    for (std::size_t Byte = 0; Byte < 6; ++Byte) {
        const auto Value =
            ZnParseInt<std::uint8_t>(std::string_view(AMac).substr(Byte * 2, 2), 16).value_or(0);
        for (std::size_t At = 6 + Byte; At < Packet.size(); At += 6)
            Packet[At] = Value;
    }
    return Packet;
}

bool ZnWakeOnLan(const std::string& AMacAddress, const std::string& AIPAddress)
{
    InitializeWinsock();
    const std::string Digits = DigitsOf(AMacAddress);
    if (Digits.empty())
        return false;
    try {
        return SendMagicPacket(Digits, AIPAddress);
    } catch (const EAbort&) {
        return false;
    }
}
