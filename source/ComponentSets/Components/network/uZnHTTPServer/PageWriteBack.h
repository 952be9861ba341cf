#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Zn
{

/// Tells one state of a file from the next: written to, or replaced by another one.
struct FileVersion
{
    std::uint64_t Device = 0;
    std::uint64_t Number = 0; // of the file on its device
    std::int64_t Size = 0;
    std::int64_t Seconds = 0, Nanoseconds = 0; // of the last write

    bool operator==(const FileVersion&) const = default;
};

/// Of a regular file, through symbolic links; nothing for anything else.
std::optional<FileVersion> VersionOf(const std::string& AFileName);

/// Puts ABytes in the place of a file, unless it is another version than AExpected by then: then
/// somebody else has written it, and theirs stays.
///
/// Readers and other writers, in any process, meet the old file or the new one as a whole, and so does
/// whoever reads it after a power failure. Of a symbolic link the file behind it is replaced. Permissions
/// stay, owner and group as far as this process may give files away. Needs room and the right to write in the
/// file's folder, where the new file grows under a name that begins with ".zn-". Raises EStreamError with the
/// old file untouched and nothing left in the folder. Any thread.
void ReplaceFile(const std::string& AFileName, const FileVersion& AExpected, std::string_view ABytes);

} // namespace Zn
