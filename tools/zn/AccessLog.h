#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "uZnHTTPH.h"

namespace Zn
{

/// What is told of one request when it is over.
struct TAccessRecord
{
    std::chrono::system_clock::time_point Time; // of the hand-over to the worker
    std::string RemoteIp;
    std::string Method;
    std::string Path; // with its percent escapes
    bool HasQuery =
        false;      // a query may carry passwords and tokens: that there was one is told, not what it said
    int Status = 0; // 0: nothing was sent
    std::uint64_t Bytes = 0; // on the wire, header section included
    std::chrono::microseconds Duration{};
};

/// 2026-03-04T13:05:06.123Z 127.0.0.1 GET /films/a.mp4?... 206 65536 0.412 ms
///
/// Fields are separated by one blank and hold none; what is no printable ASCII stands as \xHH.
std::string FormatAccessLine(const TAccessRecord& ARecord);

/// The method of a request as it was sent.
std::string MethodName(const THTTP_REQUEST& ARequest);

/// Writes the line to standard error in one piece. Any thread.
void WriteAccessLine(const TAccessRecord& ARecord);

} // namespace Zn
