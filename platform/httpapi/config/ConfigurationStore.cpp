#include "platform/httpapi/config/ConfigurationStore.h"

#include "platform/state/StateFile.h"

namespace Zn
{
namespace
{

constexpr StateFile<ConfigurationTables> File{"configuration.json", ParseConfiguration, FormatConfiguration};

} // namespace

std::uint32_t ConfigurationStore::Load(ConfigurationTables& ATables)
{
    return File.Load(ATables);
}

std::uint32_t ConfigurationStore::Change(const std::function<std::uint32_t(ConfigurationTables&)>& AChange)
{
    return File.Change(AChange);
}

} // namespace Zn
