#include "tools/zn/AccessLog.h"

#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace Zn
{

namespace
{

void AppendPrintable(std::string& ALine, std::string_view AText)
{
    constexpr char cDigits[] = "0123456789ABCDEF";
    for (const char C : AText) {
        const auto Byte = static_cast<unsigned char>(C);
        if (Byte > 0x20 && Byte < 0x7F && C != '\\') {
            ALine += C;
        } else {
            ALine += "\\x";
            ALine += cDigits[Byte >> 4];
            ALine += cDigits[Byte & 15];
        }
    }
}

void AppendTime(std::string& ALine, std::chrono::system_clock::time_point ATime)
{
    const auto Milliseconds = std::chrono::floor<std::chrono::milliseconds>(ATime);
    const auto Seconds = std::chrono::floor<std::chrono::seconds>(ATime);
    const std::time_t Time = std::chrono::system_clock::to_time_t(Seconds);
    std::tm Parts{};
    gmtime_r(&Time, &Parts);
    char Text[40];
    const std::size_t Length = std::strftime(Text, sizeof(Text), "%Y-%m-%dT%H:%M:%S", &Parts);
    ALine.append(Text, Length);
    const int Rest = static_cast<int>((Milliseconds - Seconds).count());
    ALine.append(Text, static_cast<std::size_t>(std::snprintf(Text, sizeof(Text), ".%03dZ", Rest)));
}

} // namespace

std::string MethodName(const THTTP_REQUEST& ARequest)
{
    static constexpr const char* cNames[] = {
        "",        "",      "",     "OPTIONS", "GET",      "HEAD",      "POST",  "PUT",  "DELETE", "TRACE",
        "CONNECT", "TRACK", "MOVE", "COPY",    "PROPFIND", "PROPPATCH", "MKCOL", "LOCK", "UNLOCK", "SEARCH"};
    static_assert(std::size(cNames) == HttpVerbMaximum);
    if (ARequest.Verb < HttpVerbMaximum && *cNames[ARequest.Verb] != '\0')
        return cNames[ARequest.Verb];
    return std::string(ARequest.pUnknownVerb, ARequest.UnknownVerbLength);
}

std::string FormatAccessLine(const TAccessRecord& ARecord)
{
    std::string Line;
    Line.reserve(96 + ARecord.Path.size());
    AppendTime(Line, ARecord.Time);
    Line += ' ';
    AppendPrintable(Line, ARecord.RemoteIp);
    Line += ' ';
    AppendPrintable(Line, ARecord.Method);
    Line += ' ';
    AppendPrintable(Line, ARecord.Path);
    if (ARecord.HasQuery)
        Line += "?...";
    Line += ' ';
    Line += ARecord.Status == 0 ? "-" : std::to_string(ARecord.Status);
    Line += ' ';
    Line += std::to_string(ARecord.Bytes);
    char Text[32];
    const double Milliseconds = static_cast<double>(ARecord.Duration.count()) / 1000.0;
    std::snprintf(Text, sizeof(Text), " %.3f ms\n", Milliseconds);
    Line += Text;
    return Line;
}

void WriteAccessLine(const TAccessRecord& ARecord)
{
    const std::string Line = FormatAccessLine(ARecord);
    // One call, so that lines of several workers don't mix. A log that can't be written stops no request.
    [[maybe_unused]] const auto Written = write(STDERR_FILENO, Line.data(), Line.size());
}

} // namespace Zn
