#pragma once

#include <span>
#include <string_view>

#include "platform/loader/Loader.h"

namespace Zn
{

/// One service of platform/: the name it is looked up by and its functions.
struct BuiltinTable
{
    std::string_view Name;
    std::span<const TZnExport> (*Exports)();
};

/// Every table that is part of the library. A new service adds one line to BuiltinTables.cpp.
std::span<const BuiltinTable> BuiltinTables();

} // namespace Zn
