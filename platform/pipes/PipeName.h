#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Zn
{

/// What `\\host\pipe\name` says.
struct PipeName
{
    std::string Host; // empty: this machine
    std::string Name; // never empty

    /// Host and name of APath; nothing for a text of another form. The name may hold any character but a
    /// backslash; "." and no host are this machine.
    static std::optional<PipeName> Parse(std::string_view APath);

    /// The name of the pipe's socket in its folder: the name with "/", "%", control characters and a
    /// leading "." as %XX, so that every name is one file and none hides.
    std::string FileName() const;
};

} // namespace Zn
