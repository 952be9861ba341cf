#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Zn
{

/// Where the library keeps what outlives the process: ZN_STATE_DIR, else /var/lib/zn for root, else
/// $XDG_STATE_HOME/zn or ~/.local/state/zn of the user. Without a "/" at the end; it need not exist.
std::string StateFolder();

/// Makes the folder with those above it. AMode is that of the last one. 0, or the platform's number.
std::uint32_t MakeFolder(const std::string& APath, mode_t AMode);

/// The whole file. 2 where there is none, 223 where it is longer than AMaxLength.
std::uint32_t ReadFile(const std::string& APath, std::size_t AMaxLength, std::string& AText);

/// Puts AText in the place of the file so that a reader, a crash or a full disk meets the old text or the new
/// one, never a part. By one writer at a time: whoever calls holds a StateLock.
std::uint32_t ReplaceFile(const std::string& APath, std::string_view AText, mode_t AMode);

/// The right to change the state folder, held by one thread of one process at a time. The folder and the
/// lock's file are made where they are missing. The system takes the lock back from a process that dies.
class StateLock
{
public:
    /// Waits up to 10 s for others.
    StateLock();
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

    /// 0 when it is held; 5 without the right to write there, 170 when others didn't let go.
    std::uint32_t Error() const { return FError; }

private:
    int FFd = -1;
    std::uint32_t FError;
};

} // namespace Zn
