#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

/// An empty state folder for the HTTP service (ZN_STATE_DIR), deleted with its holder. One at a time.
class TemporaryState
{
public:
    TemporaryState()
    {
        std::string Name = (std::filesystem::temp_directory_path() / "zn-state-XXXXXX").string();
        if (mkdtemp(Name.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        FPath = Name;
        setenv("ZN_STATE_DIR", Name.c_str(), 1);
    }
    ~TemporaryState()
    {
        // What runs without a state of its own must not reach the machine's.
        setenv("ZN_STATE_DIR", "/dev/null/none", 1);
        std::error_code Ignored;
        std::filesystem::remove_all(FPath, Ignored);
    }
    TemporaryState(const TemporaryState&) = delete;
    TemporaryState& operator=(const TemporaryState&) = delete;

    const std::filesystem::path& Path() const { return FPath; }

    void Write(const std::string& AName, const std::string& AText) const
    {
        std::filesystem::create_directories((FPath / AName).parent_path());
        std::ofstream(FPath / AName, std::ios::binary) << AText;
    }
    std::string Read(const std::string& AName) const
    {
        std::ifstream File(FPath / AName, std::ios::binary);
        return {std::istreambuf_iterator<char>(File), {}};
    }

private:
    std::filesystem::path FPath;
};
