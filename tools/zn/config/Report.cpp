#include "tools/zn/config/Report.h"

#include <algorithm>
#include <cstdio>

#include "common/Exceptions.h"
#include "common/Json.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"

namespace Zn
{

namespace
{

constexpr std::size_t cGap = 2;

/// Characters, not bytes.
std::size_t WidthOf(const std::string& AText)
{
    return static_cast<std::size_t>(
        std::count_if(AText.begin(), AText.end(), [](char AByte) { return (AByte & 0xC0) != 0x80; }));
}

void PrintRow(const TRow& ARow, const std::vector<std::size_t>& AWidths)
{
    std::string Line;
    for (std::size_t Column = 0; Column < ARow.size(); ++Column) {
        Line += ARow[Column];
        if (Column + 1 < ARow.size())
            Line.append(AWidths[Column] + cGap - WidthOf(ARow[Column]), ' ');
    }
    std::printf("%s\n", Line.c_str());
}

/// A refusal of the service in words that help.
int Explain(const TMatter& AMatter, const EZnException& AError)
{
    const std::string& What = AMatter.Name;
    switch (AError.GetErrorCode()) {
    case ERROR_FILE_NOT_FOUND:
        return Fail(cExitFailure, What + ": there is none");
    case ERROR_ALREADY_EXISTS:
        return Fail(cExitFailure, What + ": it is there already; delete it first");
    case ERROR_ACCESS_DENIED:
        return Fail(cExitFailure,
                    What + ": this user may not change the service's configuration; run as the user "
                           "it belongs to, or set ZN_STATE_DIR to a folder of your own");
    case ERROR_INVALID_DATA:
        return Fail(cExitFailure,
                    What + ": the file configuration.json is damaged; correct it or move it away");
    case ERROR_BUSY:
        return Fail(cExitFailure, What + ": another program is changing the configuration and doesn't end");
    case ERROR_NO_SUCH_LOGON_SESSION:
        return Fail(cExitFailure, What +
                                      ": the certificate isn't in the store, or its key isn't; see zn config "
                                      "certificate list");
    case ERROR_INVALID_NAME:
        return Fail(cExitUsage,
                    What + ": a store's name has letters, digits, \"-\", \"_\", \".\" and blanks");
    case ERROR_INVALID_PARAMETER:
        return Fail(cExitUsage, What + ": " + AMatter.Rule);
    default:
        return Fail(cExitFailure, What + ": " + AError.Message());
    }
}

} // namespace

void PrintTable(const TRow& AHeadings, const std::vector<TRow>& ARows, const std::string& AIfEmpty)
{
    if (ARows.empty()) {
        std::printf("%s\n", AIfEmpty.c_str());
        return;
    }
    std::vector<std::size_t> Widths(AHeadings.size());
    for (std::size_t Column = 0; Column < AHeadings.size(); ++Column) {
        Widths[Column] = WidthOf(AHeadings[Column]);
        for (const TRow& Row : ARows)
            Widths[Column] = std::max(Widths[Column], WidthOf(Row[Column]));
    }
    PrintRow(AHeadings, Widths);
    for (const TRow& Row : ARows)
        PrintRow(Row, Widths);
}

void PrintJson(const TJSONValue& AValue)
{
    std::printf("%s\n", AValue.ToJSON().c_str());
}

int Report(const TMatter& AMatter, const std::function<int()>& AWork)
{
    try {
        return AWork();
    } catch (const EZnException& Error) {
        return Explain(AMatter, Error);
    } catch (const Exception& Error) {
        return Fail(cExitFailure, AMatter.Name + ": " + Error.Message());
    }
}

int Fail(int AExitCode, const std::string& AText)
{
    std::fprintf(stderr, "zn config: %s\n", AText.c_str());
    return AExitCode;
}

std::string PlainThumbPrint(const std::string& AText)
{
    std::string Result = LowerCase(AText);
    std::erase_if(Result, [](char AChar) { return AChar == ':' || AChar == ' '; });
    const bool IsWhole =
        Result.size() == 40 && Result.find_first_not_of("0123456789abcdef") == std::string::npos;
    return IsWhole ? Result : std::string();
}

} // namespace Zn
