#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <string_view>

namespace Zn
{

/// An empty folder, deleted with its holder and all that is in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string Name = (std::filesystem::temp_directory_path() / "zn-test-XXXXXX").string();
        if (mkdtemp(Name.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        FPath = Name;
    }
    ~TemporaryFolder()
    {
        std::error_code Ignored;
        std::filesystem::remove_all(FPath, Ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return FPath; }
    std::string Path(const std::string& AName) const { return (FPath / AName).string(); }

    /// Makes a file, with the folders above it. Its path.
    std::string Write(const std::string& AName, std::string_view AContent) const
    {
        std::filesystem::create_directories((FPath / AName).parent_path());
        std::ofstream(FPath / AName, std::ios::binary) << AContent;
        return Path(AName);
    }
    std::string Read(const std::string& AName) const
    {
        std::ifstream File(FPath / AName, std::ios::binary);
        return {std::istreambuf_iterator<char>(File), {}};
    }

private:
    std::filesystem::path FPath;
};

} // namespace Zn
