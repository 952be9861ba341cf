#pragma once

#include <cstdint>
#include <string>

#include "common/Exceptions.h"

/// The platform release in the form of the component interfaces: 2560, the newest there is.
std::uint32_t ZnGetWindowsVersion();

/// True for a 32-bit program on a 64-bit system.
bool IsWow64();

/// What rights the process has. ZnGetElevationLevel tells the last two apart.
enum TZnElevationLevel { elUnknown, elDefault, elLimited, elElevated };

/// elElevated for root or a process that may administer the network (CAP_NET_ADMIN), else elLimited.
TZnElevationLevel ZnGetElevationLevel();

/// The length of a file in bytes; -1 when there is no file of that name, or it can't be asked.
std::int64_t ZnGetFileSize(const std::string& AFileName);

/// Opens AUrl in the user's browser: $BROWSER, else xdg-open, without waiting for it. False when
/// there is no browser to start, or AUrl is not http: or https: (it becomes an argument of a
/// program: nothing else may).
bool ZnShellExecOpenWebSite(const std::string& AUrl);

/// Milliseconds since the system started.
std::uint32_t GetTickCount();
/// Milliseconds since the machine started, without those it slept; it doesn't wrap. Any thread.
std::uint64_t GetTickCount64();

/// The text of a platform error number.
std::string SysErrorMessage(std::uint32_t AError);

/// A failed call of the platform, with its number.
class EOSError : public EZnException
{
public:
    using EZnException::EZnException;
    ZN_EXCEPTION_NAME("EOSError")
};

/// Raises EOSError for a platform error number: "System Error.  Code: 5.", and its text on a line of its own.
[[noreturn]] void RaiseLastOSError(std::uint32_t AError);
