#pragma once

#include <cstdint>
#include <functional>

#include "platform/httpapi/config/ConfigurationTables.h"

namespace Zn
{

/// The tables in the state folder's configuration.json. Threads and processes may read and change them at
/// the same time: a reader sees one state of the file or the next, and no change is lost.
class ConfigurationStore
{
public:
    /// 0, or: 13 where the file isn't of the known form, 5 without the right to read it. Without a file the
    /// tables are empty.
    static std::uint32_t Load(ConfigurationTables& ATables);

    /// Loads, lets AChange have its way and saves, under the lock. What AChange returns is the result; unless
    /// it is 0, nothing is written. A damaged file stays as it is, for somebody to look at: 13.
    static std::uint32_t Change(const std::function<std::uint32_t(ConfigurationTables&)>& AChange);
};

} // namespace Zn
