#pragma once

#include <string>

#include "platform/sync/Handle.h"

/// Opens a file (not a folder) for reading, shared with everybody. The odd handle of its
/// descriptor, which is closed in child processes; free it with CloseHandle. 0 on failure with
/// the reason in GetLastError.
THandle OpenFileForRead(const std::string& AFileName);
