#pragma once

#include <cstdint>
#include <string>

#include "platform/pipes/FileDescriptor.h"

namespace Zn
{

/// Whether a process holds the socket at a path.
enum class SocketLife { Missing, Stale, Alive };

/// Asks without connecting: a connect of the wrong socket type is refused in one way where a socket lives,
/// in another where only its file was left.
SocketLife ProbeSocket(const std::string& APath);

/// Connects to the instance that waits at APath. 0; ERROR_PIPE_BUSY where the server lives and no instance is
/// free; ERROR_FILE_NOT_FOUND; ERROR_ACCESS_DENIED; another number.
std::uint32_t ConnectSocket(const std::string& APath, FileDescriptor& ASocket);

/// A new socket that waits for one client at APath, whatever the length of the path.
std::uint32_t ListenAt(const std::string& AFolder, const std::string& AFile, unsigned AMode,
                       FileDescriptor& ASocket);

} // namespace Zn
