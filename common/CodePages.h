#pragma once

#include <cstdint>

namespace Zn
{

/// The name by which iconv knows a code page; nullptr for one that the library doesn't know.
const char* IconvName(std::uint32_t ACodePage);

/// Bytes of one unit of the code page: 2 for UTF-16, 4 for UTF-32, else 1. What is ill-formed is
/// passed over by this step.
unsigned CodePageUnit(std::uint32_t ACodePage);

} // namespace Zn
