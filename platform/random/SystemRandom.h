#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Zn
{

/// Fills ABytes from the operating system's generator, fit for keys and nonces. Waits only on a system that
/// has just booted and has no entropy yet. Any thread. Returns 0 or an error number.
[[nodiscard]] std::uint32_t FillWithRandom(std::span<std::byte> ABytes);

} // namespace Zn
