#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace Zn
{

/// A script for bash that completes commands, options, and values that are one of a few or a file.
std::string BashCompletion(const CLI::App& AProgram);

} // namespace Zn
