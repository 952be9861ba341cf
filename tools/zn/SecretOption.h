#pragma once

#include <string>

namespace Zn
{

/// A secret that a command needs: AText where it was given, else the first line of AFileName, else what the
/// environment variable AVariable holds, else empty. Raises EFOpenError for a file that can't be read, and
/// Exception for one that is longer than any secret.
std::string ReadSecret(const std::string& AText, const std::string& AFileName, const char* AVariable);

} // namespace Zn
