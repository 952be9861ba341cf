#pragma once

#include <string_view>

namespace Zn
{

/// Writes ASCII as UTF-16 to ABuffer, which may stand anywhere and has two bytes for each one of AText.
/// False, with part of it written, where AText holds something else. Any thread.
bool WidenAscii(std::string_view AText, void* ABuffer);

} // namespace Zn
