#include "tools/zn/AccessFormats.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace Zn
{

namespace
{

constexpr char cDigits[] = "0123456789ABCDEF";

void AppendHex(std::string& ALine, const char* AIntroduction, unsigned char AByte)
{
    ALine.append(AIntroduction).append(1, cDigits[AByte >> 4]).append(1, cDigits[AByte & 15]);
}

bool IsPrintable(unsigned char AByte)
{
    return AByte >= 0x20 && AByte < 0x7F;
}

/// One field of the plain format.
void AppendWord(std::string& ALine, std::string_view AText)
{
    for (const char Each : AText)
        if (IsPrintable(static_cast<unsigned char>(Each)) && Each != ' ' && Each != '\\')
            ALine += Each;
        else
            AppendHex(ALine, "\\x", static_cast<unsigned char>(Each));
}

/// The inside of a pair of quotes.
void AppendQuoted(std::string& ALine, std::string_view AText)
{
    for (const char Each : AText) {
        if (Each == '"' || Each == '\\')
            ALine += '\\';
        if (IsPrintable(static_cast<unsigned char>(Each)))
            ALine += Each;
        else
            AppendHex(ALine, "\\x", static_cast<unsigned char>(Each));
    }
}

/// A word that other programs split at blanks; "-" for nothing.
void AppendWordOrDash(std::string& ALine, std::string_view AText)
{
    if (AText.empty())
        ALine += '-';
    AppendWord(ALine, AText);
}

void AppendQuotedOrDash(std::string& ALine, std::string_view AText)
{
    ALine += '"';
    AppendQuoted(ALine, AText.empty() ? "-" : AText);
    ALine += '"';
}

/// A string of JSON. Bytes from 0x80 on are taken for Latin-1: what a client sends need not be UTF-8.
void AppendJson(std::string& ALine, std::string_view AText)
{
    ALine += '"';
    for (const char Each : AText) {
        if (Each == '"' || Each == '\\')
            ALine += '\\';
        if (IsPrintable(static_cast<unsigned char>(Each)))
            ALine += Each;
        else
            AppendHex(ALine, "\\u00", static_cast<unsigned char>(Each));
    }
    ALine += '"';
}

void AppendMember(std::string& ALine, const char* AName, std::string_view AText)
{
    ALine.append(",\"").append(AName).append("\":");
    if (AText.empty())
        ALine += "null";
    else
        AppendJson(ALine, AText);
}

void AppendTime(std::string& ALine, std::chrono::system_clock::time_point ATime, const char* AFormat)
{
    const std::time_t Time =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(ATime));
    std::tm Parts{};
    gmtime_r(&Time, &Parts);
    char Text[48];
    ALine.append(Text, std::strftime(Text, sizeof Text, AFormat, &Parts));
}

/// 2026-03-04T13:05:06.123Z
void AppendIsoTime(std::string& ALine, std::chrono::system_clock::time_point ATime)
{
    AppendTime(ALine, ATime, "%Y-%m-%dT%H:%M:%S");
    const auto Milliseconds = std::chrono::floor<std::chrono::milliseconds>(ATime);
    const auto Rest = Milliseconds - std::chrono::floor<std::chrono::seconds>(ATime);
    char Text[16];
    std::snprintf(Text, sizeof Text, ".%03dZ", static_cast<int>(Rest.count()));
    ALine += Text;
}

std::string Milliseconds(std::chrono::microseconds ADuration)
{
    char Text[32];
    std::snprintf(Text, sizeof Text, "%.3f", static_cast<double>(ADuration.count()) / 1000.0);
    return Text;
}

/// The locale's names of months would be another format.
const char* MonthOf(std::chrono::system_clock::time_point ATime)
{
    constexpr const char* cMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::chrono::year_month_day Date(std::chrono::floor<std::chrono::days>(ATime));
    return cMonths[static_cast<unsigned>(Date.month()) - 1];
}

} // namespace

std::string FormatAccessLine(const TAccessRecord& ARecord)
{
    std::string Line;
    Line.reserve(96 + ARecord.Path.size());
    AppendIsoTime(Line, ARecord.Time);
    for (const std::string* const Each : {&ARecord.RemoteIp, &ARecord.Method, &ARecord.Path}) {
        Line += ' ';
        AppendWord(Line, *Each);
    }
    Line += ARecord.HasQuery ? "?... " : " ";
    Line += ARecord.Status == 0 ? "-" : std::to_string(ARecord.Status);
    Line.append(" ").append(std::to_string(ARecord.Bytes));
    return Line.append(" ").append(Milliseconds(ARecord.Duration)).append(" ms\n");
}

std::string FormatCombined(const TAccessRecord& ARecord)
{
    std::string Line;
    Line.reserve(192 + ARecord.Path.size() + ARecord.Referer.size() + ARecord.UserAgent.size());
    AppendWordOrDash(Line, ARecord.RemoteIp);
    Line += " - ";
    AppendWordOrDash(Line, ARecord.User);
    AppendTime(Line, ARecord.Time, " [%d/");
    Line += MonthOf(ARecord.Time);
    AppendTime(Line, ARecord.Time, "/%Y:%H:%M:%S +0000] \"");
    AppendQuoted(Line,
                 ARecord.Method + " " + ARecord.Path + (ARecord.HasQuery ? "?... " : " ") + ARecord.Protocol);
    Line += "\" ";
    Line += ARecord.Status == 0 ? "-" : std::to_string(ARecord.Status);
    Line.append(" ").append(std::to_string(ARecord.Bytes));
    for (const std::string* const Each : {&ARecord.Referer, &ARecord.UserAgent, &ARecord.Id}) {
        Line += ' ';
        AppendQuotedOrDash(Line, *Each);
    }
    return Line += '\n';
}

std::string FormatJson(const TAccessRecord& ARecord)
{
    std::string Line;
    Line.reserve(320 + ARecord.Path.size() + ARecord.Referer.size() + ARecord.UserAgent.size());
    Line += "{\"time\":\"";
    AppendIsoTime(Line, ARecord.Time);
    Line += '"';
    AppendMember(Line, "id", ARecord.Id);
    AppendMember(Line, "client", ARecord.RemoteIp);
    AppendMember(Line, "user", ARecord.User);
    AppendMember(Line, "method", ARecord.Method);
    AppendMember(Line, "path", ARecord.Path);
    Line.append(",\"query\":").append(ARecord.HasQuery ? "true" : "false");
    AppendMember(Line, "protocol", ARecord.Protocol);
    Line.append(",\"status\":").append(ARecord.Status == 0 ? "null" : std::to_string(ARecord.Status));
    Line.append(",\"bytes\":").append(std::to_string(ARecord.Bytes));
    Line.append(",\"duration_ms\":").append(Milliseconds(ARecord.Duration));
    AppendMember(Line, "referer", ARecord.Referer);
    AppendMember(Line, "user_agent", ARecord.UserAgent);
    return Line += "}\n";
}

std::string WithoutSecrets(std::string_view AUrl)
{
    const std::size_t End = std::min(AUrl.find_first_of("?#"), AUrl.size());
    std::string Result(AUrl.substr(0, End));
    if (const std::size_t Slashes = Result.find("//"); Slashes != std::string::npos) {
        const std::size_t HostEnd = std::min(Result.find('/', Slashes + 2), Result.size());
        if (const std::size_t At = Result.rfind('@', HostEnd); At != std::string::npos && At > Slashes)
            Result.erase(Slashes + 2, At - Slashes - 1);
    }
    return End < AUrl.size() && AUrl[End] == '?' ? Result + "?..." : Result;
}

} // namespace Zn
