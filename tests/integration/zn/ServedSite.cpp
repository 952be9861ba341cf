#include "tests/integration/zn/ServedSite.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Text.h"

namespace Zn
{

void TTemporaryFolder::Write(const std::string& AName, std::string_view AContent) const
{
    const std::string File = TemporaryFolder::Write(AName, AContent);
    const timespec Date{.tv_sec = 1583020800, .tv_nsec = 0};
    const timespec Times[2] = {Date, Date};
    utimensat(AT_FDCWD, File.c_str(), Times, 0);
}

THttpAnswer Curl(std::vector<std::string> AArguments)
{
    std::vector<std::string> Arguments{"curl", "-s", "-i", "--path-as-is", "--max-time", "60"};
    Arguments.insert(Arguments.end(), AArguments.begin(), AArguments.end());
    TChildProcess Process(std::move(Arguments));
    THttpAnswer Answer;
    Answer.CurlCode = Process.WaitForExit(2 * cPatience).value_or(-1);

    std::string Text = Process.Output();
    std::size_t End = Text.find("\r\n\r\n");
    // What came before the answer: 100, or the challenge that curl has met already.
    while (End != std::string::npos && Text.compare(End + 4, 5, "HTTP/") == 0) {
        Text.erase(0, End + 4);
        End = Text.find("\r\n\r\n");
    }
    if (End == std::string::npos)
        return Answer;
    Answer.Content = Text.substr(End + 4);
    std::istringstream Head(Text.substr(0, End));
    std::string Line;
    std::getline(Head, Line);
    Answer.Status = StrToIntDef(Line.substr(9, 3), 0);
    Answer.Reason = ZnTrim(Line.substr(std::min<std::size_t>(12, Line.size())));
    while (std::getline(Head, Line)) {
        const std::size_t Colon = Line.find(':');
        if (Colon != std::string::npos)
            Answer.Fields[LowerCase(Line.substr(0, Colon))] = ZnTrim(Line.substr(Colon + 1));
    }
    return Answer;
}

TServedSite::TServedSite(const std::filesystem::path& AFolder, std::vector<std::string> AOptions,
                         std::string APath)
    : FRoot("http://localhost:" + std::to_string(FreePort()) + APath)
{
    std::vector<std::string> Arguments{ZN_PROGRAM, "serve", AFolder.string(), "--bind", FRoot};
    Arguments.insert(Arguments.end(), AOptions.begin(), AOptions.end());
    FProcess = std::make_unique<TChildProcess>(std::move(Arguments));
    if (!FProcess->WaitForOutput("Press Ctrl+C to stop.", cPatience))
        throw std::runtime_error("zn serve isn't ready: " + FProcess->Errors());
}

THttpAnswer TServedSite::Get(const std::string& ATarget, std::vector<std::string> AArguments) const
{
    AArguments.push_back(Url(ATarget));
    return Curl(std::move(AArguments));
}

} // namespace Zn
