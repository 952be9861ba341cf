#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace Zn
{

/// zn.1 in the man macros of roff: every command with its options, as the command line itself has them.
std::string ManPage(const CLI::App& AProgram, const std::string& AVersion);

} // namespace Zn
