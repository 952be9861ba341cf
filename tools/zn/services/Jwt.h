#pragma once

#include <string>

namespace Zn
{

/// What `zn jwt verify` is asked for.
struct TJwtCommand
{
    std::string Token;    // the token, "@FILE", or "@-" for standard input
    std::string KeySet;   // "http(s)://..." or a file
    std::string Issuer;   // empty: any
    std::string Audience; // empty: any
    bool CheckTimes = false;
};

/// Prints the claims as JSON, or why there are none on standard error; the exit code.
int VerifyToken(const TJwtCommand& ACommand);

} // namespace Zn
