#pragma once

#include <cstdint>

#include "platform/httpclient/Transfer.h"

namespace Zn::Wininet
{

/// The time-outs with which sessions begin. Any thread.
HttpClient::Patience DefaultPatience();

/// Sets one of the three by its option; false for any other option.
bool SetDefaultPatience(std::uint32_t AOption, std::uint32_t AMilliseconds);

} // namespace Zn::Wininet
