#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace Zn
{

/// What is told of one request when it is over. A query may carry passwords and tokens: that there was one is
/// told, not what it said; the same goes for the Referer's.
struct TAccessRecord
{
    std::chrono::system_clock::time_point Time; // of the hand-over to the worker
    std::string RemoteIp;
    std::string Method;
    std::string Path; // with its percent escapes
    bool HasQuery = false;
    int Status = 0;          // 0: nothing was sent
    std::uint64_t Bytes = 0; // on the wire, header section included
    std::chrono::microseconds Duration{};

    // For the formats that tell more.
    std::string Id;
    std::string User; // empty: nobody logged on
    std::string Protocol;
    std::string Referer;
    std::string UserAgent;
};

/// Each is one line with its end; bytes that are no printable ASCII are escaped, so that a line stays one.

/// 2026-03-04T13:05:06.123Z 127.0.0.1 GET /films/a.mp4?... 206 65536 0.412 ms
///
/// Fields are separated by one blank and hold none; what is no printable ASCII stands as \xHH.
std::string FormatAccessLine(const TAccessRecord& ARecord);

/// 127.0.0.1 - ada [04/Mar/2026:13:05:06 +0000] "GET /films/a.mp4?... HTTP/1.1" 206 65536 "-" "curl/8.0" "ID"
///
/// The combined format of web servers with the request's id behind it. A quote or backslash inside of a field
/// is escaped by a backslash, anything else stands as \xHH.
std::string FormatCombined(const TAccessRecord& ARecord);

/// {"time":"2026-03-04T13:05:06.123Z","id":...,"client":...,"user":null,"method":...,"path":...,"query":true,
/// "protocol":...,"status":206,"bytes":65536,"duration_ms":0.412,"referer":null,"user_agent":...}
std::string FormatJson(const TAccessRecord& ARecord);

/// AUrl without user, password, query and fragment.
std::string WithoutSecrets(std::string_view AUrl);

} // namespace Zn
