#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/integration/zn/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace Zn
{

inline constexpr std::chrono::seconds cPatience{60};

/// A program of tests/peers that says where it listens.
class TPeer
{
public:
    /// AArguments: the script's name and what it is given. AEnvironment: "NAME=value", for it alone.
    explicit TPeer(std::vector<std::string> AArguments, const std::string& AEnvironment = "ZN_NOTHING=");

    /// Nothing where node or its packages are missing; a peer that fails otherwise is a failure.
    std::optional<std::uint16_t> Port();

private:
    TChildProcess FProcess;
};

/// What a program gave.
struct TOutcome
{
    int Code = -1;
    std::string Output;
    std::string Errors;
};
TOutcome RunProgram(const std::vector<std::string>& AArguments);

} // namespace Zn

/// Leaves the test where the peer's packages aren't installed.
#define ZN_PEER_PORT(APort, APeer)                                                                           \
    const auto APort##Found = (APeer).Port();                                                                \
    if (!APort##Found)                                                                                       \
        GTEST_SKIP() << "needs node and the packages of tests/peers (npm ci)";                               \
    const std::uint16_t APort = *APort##Found
