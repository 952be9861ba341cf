#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/integration/zn/ServedSite.h"

namespace Zn
{

/// A provider of tests/peers on the loopback, running.
class TPeerProvider
{
public:
    /// Nothing where node or the packages of tests/peers aren't installed. AScript is a file there, ASettings
    /// what it takes.
    static std::optional<TPeerProvider> Start(const std::string& AScript, const std::string& ASettings);

    /// Its root, without a "/" at the end.
    const std::string& Issuer() const { return FIssuer; }

private:
    explicit TPeerProvider(std::unique_ptr<TChildProcess> AProcess);

    std::unique_ptr<TChildProcess> FProcess;
    std::string FIssuer;
};

inline constexpr const char* cNoProvider =
    "node or the packages of tests/peers (npm ci there) aren't installed: no provider to log on at";

/// Whether there is a browser to walk through a provider's pages.
bool HasWalker();

struct TWalk
{
    std::optional<int> ExitCode;
    std::string Text; // the last page's, after a line for each page that was refused
};

/// Opens AStart in a browser, logs AUser on and agrees, until the browser is at AEnd.
TWalk WalkBrowser(const std::string& AUser, const std::string& AStart, const std::string& AEnd);

} // namespace Zn
