#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/errors/Errors.h"
#include "platform/state/StateFolder.h"

namespace Zn
{

/// One file of the state folder that holds a T as text. Threads and processes may read and change it at the
/// same time: a reader sees one state of the file or the next, and no change is lost.
template <class T>
struct StateFile
{
    static constexpr std::size_t MaxLength = 16 << 20;

    const char* Name; // below the state folder
    std::optional<T> (*Parse)(std::string_view AText);
    std::string (*Format)(const T& AValue);

    /// 0, or: 13 where the file isn't of the known form, 5 without the right to read it. Without a file the
    /// value is the default one.
    std::uint32_t Load(T& AValue) const
    {
        std::string Text;
        AValue = {};
        switch (const std::uint32_t Result = ReadFile(Path(), MaxLength, Text)) {
        case NO_ERROR:
            break;
        case ERROR_FILE_NOT_FOUND:
            return NO_ERROR;
        case ERROR_FILE_TOO_LARGE:
            return ERROR_INVALID_DATA;
        default:
            return Result;
        }
        auto Value = Parse(Text);
        if (!Value)
            return ERROR_INVALID_DATA;
        AValue = std::move(*Value);
        return NO_ERROR;
    }

    /// Loads, lets AChange have its way and saves, under the lock. What AChange returns is the result; unless
    /// it is 0, nothing is written. A damaged file stays as it is, for somebody to look at: 13.
    std::uint32_t Change(const std::function<std::uint32_t(T&)>& AChange) const
    {
        constexpr mode_t FileMode = 0644; // what is kept this way is no secret
        const StateLock Lock;
        if (Lock.Error() != NO_ERROR)
            return Lock.Error();
        T Value;
        if (const std::uint32_t Result = Load(Value); Result != NO_ERROR)
            return Result;
        if (const std::uint32_t Result = AChange(Value); Result != NO_ERROR)
            return Result;
        return ReplaceFile(Path(), Format(Value), FileMode);
    }

private:
    std::string Path() const { return StateFolder() + "/" + Name; }
};

} // namespace Zn
