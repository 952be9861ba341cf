#include "tests/integration/amazon/Peers.h"

#include <gtest/gtest.h>

namespace Zn
{

namespace
{

constexpr const char* cListening = "listening ";

std::vector<std::string> NodeCommand(std::vector<std::string> AArguments, const std::string& AEnvironment)
{
    AArguments[0] = std::string(ZN_PEERS "/") + AArguments[0];
    AArguments.insert(AArguments.begin(), {"env", AEnvironment, "node"});
    return AArguments;
}

} // namespace

TPeer::TPeer(std::vector<std::string> AArguments, const std::string& AEnvironment)
    : FProcess(NodeCommand(std::move(AArguments), AEnvironment))
{
}

std::optional<std::uint16_t> TPeer::Port()
{
    if (!FProcess.WaitForOutput("\n", cPatience) || FProcess.Output().find(cListening) == std::string::npos) {
        const int Code = FProcess.WaitForExit(cPatience).value_or(-1);
        constexpr int cNoProgram = 127;
        constexpr int cNoPackages = 77;
        EXPECT_TRUE(Code == cNoProgram || Code == cNoPackages) << FProcess.Errors();
        return std::nullopt;
    }
    const std::string Output = FProcess.Output();
    return static_cast<std::uint16_t>(
        std::stoi(Output.substr(Output.find(cListening) + std::string(cListening).size())));
}

TOutcome RunProgram(const std::vector<std::string>& AArguments)
{
    TChildProcess Process(AArguments);
    TOutcome Result;
    Result.Code = Process.WaitForExit(cPatience).value_or(-1);
    Result.Output = Process.Output();
    Result.Errors = Process.Errors();
    return Result;
}

} // namespace Zn
