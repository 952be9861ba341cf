#include <cstdio>

#include "common/Exceptions.h"
#include "common/Text.h"
#include "tools/zn/Commands.h"
#include "tools/zn/services/Services.h"
#include "uZnTCPClient.h"

namespace Zn
{

namespace
{

int Fail(int AExitCode, const std::string& AText)
{
    std::fprintf(stderr, "zn tcp: %s\n", AText.c_str());
    return AExitCode;
}

/// An exception's lines as one.
std::string OneLine(const std::string& AText)
{
    std::string Result;
    for (const char Char : AText) {
        if (Char == '\r')
            continue;
        Result += Char == '\n' ? ' ' : Char;
    }
    return Result;
}

} // namespace

std::optional<std::string> ResolveEscapes(const std::string& AText)
{
    std::string Result;
    for (std::size_t At = 0; At < AText.size(); ++At) {
        if (AText[At] != '\\') {
            Result += AText[At];
            continue;
        }
        if (++At == AText.size())
            return std::nullopt;
        constexpr std::string_view cLetters = "nrt0\\";
        constexpr std::string_view cMeanings("\n\r\t\0\\", 5);
        if (const std::size_t Known = cLetters.find(AText[At]); Known != std::string_view::npos) {
            Result += cMeanings[Known];
            continue;
        }
        const auto Byte =
            AText[At] == 'x' ? ZnParseInt<std::uint8_t>(AText.substr(At + 1, 2), 16) : std::nullopt;
        if (!Byte || At + 2 >= AText.size())
            return std::nullopt;
        Result += static_cast<char>(*Byte);
        At += 2;
    }
    return Result;
}

int SendTcpCommand(const TTcpCommand& ACommand)
{
    const auto Text = ResolveEscapes(ACommand.Text);
    const auto Terminator = ResolveEscapes(ACommand.Terminator);
    if (!Text || !Terminator)
        return Fail(cExitUsage, "a backslash is followed by n, r, t, 0, xHH or a backslash");
    if (Terminator->size() != 1)
        return Fail(cExitUsage, "the terminator is one byte");
    try {
        TZnTCPClient Client;
        Client.SetHost(ACommand.Host);
        Client.SetPort(ACommand.Port);
        Client.SetTimeOut(ACommand.TimeOut);
        Client.SetConnectTimeOut(ACommand.TimeOut);
        const std::string Answer = Client.SendCmd(*Text, Terminator->front());
        std::fwrite(Answer.data(), 1, Answer.size(), stdout);
        return std::fflush(stdout) == 0 ? cExitOk : Fail(cExitFailure, "the answer could not be written");
    } catch (const EZnSocketWaitForData&) {
        return Fail(cExitFailure,
                    ZnFormat("%s didn't answer within %d ms", ACommand.Host.c_str(), ACommand.TimeOut));
    } catch (const Exception& Error) {
        return Fail(cExitFailure, OneLine(Error.Message()));
    }
}

} // namespace Zn
