#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Zn
{

/// Tells one state of a file from the next: written to, or replaced by another one.
struct FileVersion
{
    std::uint64_t Device = 0;
    std::uint64_t Number = 0; // of the file on its device
    std::int64_t Length = 0;
    std::int64_t Modified = 0; // ns since 1970; can be set by anybody who may write the file
    std::int64_t Changed = 0;  // ns since 1970; set by the system alone, at each change

    bool operator==(const FileVersion&) const = default;
};

/// Of a regular file, through symbolic links; nothing for anything else.
std::optional<FileVersion> VersionOf(const std::string& AFileName);
std::optional<FileVersion> VersionOf(int ADescriptor);

} // namespace Zn
