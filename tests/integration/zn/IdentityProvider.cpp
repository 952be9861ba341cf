#include "tests/integration/zn/IdentityProvider.h"

#include <stdexcept>

namespace Zn
{

std::optional<TPeerProvider> TPeerProvider::Start(const std::string& AScript, const std::string& ASettings)
{
    auto Process = std::make_unique<TChildProcess>(
        std::vector<std::string>{"env", "node", ZN_PEERS "/" + AScript, ASettings});
    if (Process->WaitForOutput("://127.0.0.1:", cPatience) && Process->WaitForOutput("\n", cPatience))
        return TPeerProvider(std::move(Process));
    const auto Code = Process->WaitForExit(cPatience);
    if (Code == 77 || Code == 127)
        return std::nullopt;
    throw std::runtime_error("the provider isn't ready: " + Process->Output() + Process->Errors());
}

TPeerProvider::TPeerProvider(std::unique_ptr<TChildProcess> AProcess) : FProcess(std::move(AProcess))
{
    const std::string Output = FProcess->Output();
    const std::size_t Begin = Output.find("http");
    FIssuer = Output.substr(Begin, Output.find('\n', Begin) - Begin);
}

bool HasWalker()
{
    TChildProcess Probe({"sh", "-c",
                         "command -v chromium && command -v node && test -d " ZN_PEERS
                         "/node_modules/playwright-core"});
    return Probe.WaitForExit(cPatience) == 0;
}

TWalk WalkBrowser(const std::string& AUser, const std::string& AStart, const std::string& AEnd)
{
    TChildProcess Walk({"env", "node", ZN_PEERS "/browse.mjs", AUser, AStart, AEnd});
    TWalk Result;
    Result.ExitCode = Walk.WaitForExit(5 * cPatience);
    Result.Text = Walk.Output() + Walk.Errors();
    return Result;
}

} // namespace Zn
