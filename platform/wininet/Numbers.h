#pragma once

#include <cstdint>

namespace Zn::Wininet
{

/// An engine's number as this function set tells it.
std::uint32_t NumberFor(std::uint32_t AError);

} // namespace Zn::Wininet
