#include "common/Logger.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "common/Exceptions.h"

namespace
{

/// Catches what is logged, at the given level, for the length of a test.
struct CaughtLog
{
    explicit CaughtLog(TZnLogLevel ALevel) : OldLevel(TZnLogger::GetLevel())
    {
        TZnLogger::SetLevel(ALevel);
        TZnLogger::SetSink([this](const TZnLogLine& ALine) {
            Lines.push_back(std::string(ALine.Logger) + "|" + std::to_string(static_cast<int>(ALine.Level)) +
                            "|" + std::string(ALine.Text));
        });
    }
    ~CaughtLog()
    {
        TZnLogger::SetSink(nullptr);
        TZnLogger::SetLevel(OldLevel);
    }
    CaughtLog(const CaughtLog&) = delete;
    CaughtLog& operator=(const CaughtLog&) = delete;

    TZnLogLevel OldLevel;
    std::vector<std::string> Lines;
};

} // namespace

TEST(Logger, WarningsAndErrorsOnlyUnlessAskedFor)
{
    EXPECT_EQ(TZnLogger::GetLevel(), TZnLogLevel::Warning);
    CaughtLog Log(TZnLogger::GetLevel());
    auto Logger = TZnLogger::GetLogger("server");
    Logger->Log(TZnLogLevel::Info, "quiet");
    Logger->Log(TZnLogLevel::Warning, "loud {} %s");
    Logger->Exception(EZnException("broken", 5), "while reading");
    Logger->Exception(EAbort("bare"));
    EXPECT_EQ(Log.Lines,
              (std::vector<std::string>{"server|3|loud {} %s", "server|4|while reading: EZnException: broken",
                                        "server|4|EAbort: bare"}));
    TZnLogger::SetLevel(TZnLogLevel::Off);
    Logger->Log(TZnLogLevel::Error, "nobody");
    Logger->Log(TZnLogLevel::Off, "no level");
    TZnLogger::SetLevel(TZnLogLevel::Trace);
    Logger->Log(TZnLogLevel::Trace, "all");
    EXPECT_EQ(Log.Lines.size(), 4U);
}

TEST(Logger, ChildrenCarryTheParentsName)
{
    CaughtLog Log(TZnLogLevel::Info);
    auto Child = TZnLogger::GetLogger("server")->Child("auth");
    EXPECT_EQ(Child->GetName(), "server.auth");
    EXPECT_EQ(Child, TZnLogger::GetLogger("server.auth"));
    Child->Log(TZnLogLevel::Info, "x");
    EXPECT_EQ(Log.Lines, std::vector<std::string>{"server.auth|2|x"});
    EXPECT_EQ(::Logger()->GetName(), "zn");
}

TEST(Logger, SinkGetsOneLineAtATime)
{
    CaughtLog Log(TZnLogLevel::Info); // its vector has no lock of its own
    auto Write = [] {
        for (int i = 0; i < 1000; ++i)
            TZnLogger::GetLogger("t" + std::to_string(i % 7))->Log(TZnLogLevel::Info, "line");
    };
    std::thread A(Write), B(Write);
    A.join();
    B.join();
    EXPECT_EQ(Log.Lines.size(), 2000U);
}
