#include "common/System.h"

#include <chrono>
#include <string_view>

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

std::uint32_t ZnGetWindowsVersion()
{
    return 0x0A00;
}

bool IsWow64()
{
    if (sizeof(void*) != 4)
        return false;
    utsname Names;
    return uname(&Names) == 0 && std::string_view(Names.machine).find("64") != std::string_view::npos;
}

TZnElevationLevel ZnGetElevationLevel()
{
    if (geteuid() == 0)
        return elElevated;
    __user_cap_header_struct Header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct Data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &Header, Data) != 0)
        return elUnknown;
    return Data[0].effective & (1U << CAP_NET_ADMIN) ? elElevated : elLimited;
}

std::int64_t ZnGetFileSize(const std::string& AFileName)
{
    struct stat Status;
    if (stat(AFileName.c_str(), &Status) != 0 || !S_ISREG(Status.st_mode))
        return -1;
    return Status.st_size;
}

std::uint64_t GetTickCount64()
{
    auto SinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(SinceBoot).count());
}

std::uint32_t GetTickCount()
{
    return static_cast<std::uint32_t>(GetTickCount64());
}

std::string SysErrorMessage(std::uint32_t AError)
{
    return SysErrorText(AError);
}

void RaiseLastOSError(std::uint32_t AError)
{
    throw EOSError(ZnFormat("System Error.  Code: %u.\r\n%s", AError, SysErrorMessage(AError).c_str()),
                   static_cast<int>(AError));
}
