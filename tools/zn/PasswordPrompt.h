#pragma once

#include <optional>
#include <string>

namespace Zn
{

/// Asks for a line on the terminal of standard input without showing what is typed. Nothing when standard
/// input is no terminal or has ended. SIGINT, SIGTERM and SIGHUP put the terminal back before they take their
/// effect.
std::optional<std::string> PromptForPassword(const std::string& AQuestion);

} // namespace Zn
