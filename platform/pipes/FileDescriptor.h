#pragma once

#include <utility>

#include <unistd.h>

namespace Zn
{

/// Owns a descriptor; -1 is none.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int AFd) : FFd(AFd) {}
    FileDescriptor(FileDescriptor&& AOther) noexcept : FFd(std::exchange(AOther.FFd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& AOther) noexcept
    {
        std::swap(FFd, AOther.FFd);
        return *this;
    }
    ~FileDescriptor()
    {
        if (FFd >= 0)
            close(FFd);
    }

    int Get() const { return FFd; }
    explicit operator bool() const { return FFd >= 0; }

private:
    int FFd = -1;
};

} // namespace Zn
