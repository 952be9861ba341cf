#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace Zn
{

/// What the manual and the completion tell of an option or positional.
struct OptionFacts
{
    explicit OptionFacts(const CLI::Option& AOption);

    std::vector<std::string> Names;   // "-o", "--output"; a positional's name alone
    std::string Value;                // "FILE"; empty for a flag
    std::vector<std::string> Choices; // where the value is one of a few
    bool TakesFile = false;
    std::vector<std::string> Notes; // range, default, what it needs
};

std::vector<const CLI::Option*> Positionals(const CLI::App& ACommand);
std::vector<const CLI::Option*> NamedOptions(const CLI::App& ACommand);
std::vector<const CLI::App*> Subcommands(const CLI::App& ACommand);

} // namespace Zn
