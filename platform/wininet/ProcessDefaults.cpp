#include "platform/wininet/ProcessDefaults.h"

#include <atomic>

#include "platform/wininet/Wininet.h"

namespace
{

const Zn::HttpClient::Patience cFirst;
std::atomic<std::uint32_t> Connect{cFirst.Connect};
std::atomic<std::uint32_t> Send{cFirst.Send};
std::atomic<std::uint32_t> Receive{cFirst.Receive};

} // namespace

Zn::HttpClient::Patience Zn::Wininet::DefaultPatience()
{
    return {Connect.load(), Send.load(), Receive.load()};
}

bool Zn::Wininet::SetDefaultPatience(std::uint32_t AOption, std::uint32_t AMilliseconds)
{
    switch (AOption) {
    case INTERNET_OPTION_CONNECT_TIMEOUT:
        Connect = AMilliseconds;
        return true;
    case INTERNET_OPTION_SEND_TIMEOUT:
        Send = AMilliseconds;
        return true;
    case INTERNET_OPTION_RECEIVE_TIMEOUT:
        Receive = AMilliseconds;
        return true;
    default:
        return false;
    }
}
