#include "platform/httpapi/config/ConfigurationStore.h"

#include "platform/errors/Errors.h"
#include "platform/httpapi/config/StateFolder.h"

namespace Zn
{
namespace
{

constexpr std::size_t MaxLength = 16 << 20;
constexpr mode_t FileMode = 0644; // the tables are no secret; the keys stand elsewhere

std::string FileName()
{
    return StateFolder() + "/configuration.json";
}

} // namespace

std::uint32_t ConfigurationStore::Load(ConfigurationTables& ATables)
{
    std::string Text;
    ATables = {};
    switch (const std::uint32_t Result = ReadFile(FileName(), MaxLength, Text)) {
    case NO_ERROR:
        break;
    case ERROR_FILE_NOT_FOUND:
        return NO_ERROR;
    case ERROR_FILE_TOO_LARGE:
        return ERROR_INVALID_DATA;
    default:
        return Result;
    }
    auto Tables = ParseConfiguration(Text);
    if (!Tables)
        return ERROR_INVALID_DATA;
    ATables = std::move(*Tables);
    return NO_ERROR;
}

std::uint32_t ConfigurationStore::Change(const std::function<std::uint32_t(ConfigurationTables&)>& AChange)
{
    const StateLock Lock;
    if (Lock.Error() != NO_ERROR)
        return Lock.Error();
    ConfigurationTables Tables;
    if (const std::uint32_t Result = Load(Tables); Result != NO_ERROR)
        return Result;
    if (const std::uint32_t Result = AChange(Tables); Result != NO_ERROR)
        return Result;
    return ReplaceFile(FileName(), FormatConfiguration(Tables), FileMode);
}

} // namespace Zn
