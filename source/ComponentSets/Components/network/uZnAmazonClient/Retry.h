#pragma once

/// When a request is sent again, and after which pause.

#include <chrono>
#include <cstdint>
#include <string_view>

namespace Zn
{

/// True for 429, 500, 502, 503 and 504, and for a 400 that tells of throttling.
bool IsWorthRetrying(std::uint16_t AStatus, std::string_view ABody);

/// The longest pause ahead of retry number ANumber (0 is the first): ABase, doubled each time, at most 20 s.
std::chrono::milliseconds LongestPause(std::chrono::milliseconds ABase, std::uint32_t ANumber);

/// A random part of that, so that clients that failed together don't come back together.
std::chrono::milliseconds PauseWithJitter(std::chrono::milliseconds ALongest);

} // namespace Zn
