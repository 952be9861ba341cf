#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace Zn
{

/// A folder of its own for the pipes of one test, gone with it.
class TemporaryPipes
{
public:
    TemporaryPipes()
    {
        std::string Pattern = (std::filesystem::temp_directory_path() / "zn-pipes-XXXXXX").string();
        FFolder = mkdtemp(Pattern.data());
        setenv("ZN_PIPE_DIR", FFolder.c_str(), 1);
    }
    ~TemporaryPipes()
    {
        unsetenv("ZN_PIPE_DIR");
        std::error_code Ignored;
        std::filesystem::remove_all(FFolder, Ignored);
    }
    TemporaryPipes(const TemporaryPipes&) = delete;
    TemporaryPipes& operator=(const TemporaryPipes&) = delete;

    const std::string& Folder() const { return FFolder; }

private:
    std::string FFolder;
};

} // namespace Zn
