#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/integration/zn/ChildProcess.h"
#include "tests/support/FreePort.h"
#include "tests/support/TemporaryFolder.h"

namespace Zn
{

/// Time that anything may take on a machine under load; what is waited for takes a fraction of it.
inline constexpr std::chrono::seconds cPatience{60};

/// A folder whose files are of 1 March 2020, so that their validators are strong.
class TTemporaryFolder : public TemporaryFolder
{
public:
    void Write(const std::string& AName, std::string_view AContent) const;
};

/// An answer as curl saw it.
struct THttpAnswer
{
    int CurlCode = 0;
    int Status = 0;
    std::string Reason;
    std::map<std::string, std::string> Fields; // names in lower case; the last of like-named ones
    std::string Content;

    std::string operator[](const std::string& AName) const
    {
        const auto Found = Fields.find(AName);
        return Found == Fields.end() ? "" : Found->second;
    }
};

/// Runs curl with AArguments and reads its answer.
THttpAnswer Curl(std::vector<std::string> AArguments);

/// `zn serve`, running.
class TServedSite
{
public:
    /// Starts it on a free port and waits until it is ready; throws with what it said instead.
    TServedSite(const std::filesystem::path& AFolder, std::vector<std::string> AOptions,
                std::string APath = "/");

    /// The URL for a target below the prefix.
    std::string Url(const std::string& ATarget) const { return FRoot + ATarget; }
    const std::string& Root() const { return FRoot; }

    THttpAnswer Get(const std::string& ATarget, std::vector<std::string> AArguments = {}) const;

    TChildProcess& Process() { return *FProcess; }

private:
    std::string FRoot; // ends in "/"
    std::unique_ptr<TChildProcess> FProcess;
};

} // namespace Zn
