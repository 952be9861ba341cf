#pragma once

/// Every limit of a server in one place, by name: for command lines and configuration files. In code, the
/// properties of the server and TZnHttpServiceLimits are shorter.

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/Api.h"

class TZnCustomHTTPServer;

/// One limit: its range, and what it is about.
struct TZnHTTPServerLimit
{
    const char* Name;      // by which ZnSetHTTPServerLimit knows it
    const char* Unit;      // of the numbers
    std::uint64_t Default; // of a fresh server, or process
    std::uint64_t Least;   // a smaller number is refused
    std::uint64_t Most;    // a larger number is refused
    const char* Zero;      // what 0 means; nullptr: it is refused, or a number like any other
    const char* What;      // is limited, and what comes beyond it
};

/// All of them, in the order of the path that a request takes.
ZN_API std::span<const TZnHTTPServerLimit> ZnHTTPServerLimits();

/// Sets one, for a server that is inactive; what counts for the process (RequestBufferSize, the service's
/// limits) takes effect for the whole of it. Raises EInvalidArgument for a name that isn't there, and for a
/// value out of its range.
ZN_API void ZnSetHTTPServerLimit(TZnCustomHTTPServer& AServer, std::string_view AName, std::uint64_t AValue);
