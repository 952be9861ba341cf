#pragma once

#include <string>
#include <string_view>

namespace Zn
{

/// A URL for the text of an error: without the user and password that it may hold.
std::string ShownURL(std::string_view AURL);

} // namespace Zn
