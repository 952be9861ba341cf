#include <fstream>
#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

bool IsInstalled(const std::string& AProgram)
{
    TChildProcess Probe({"sh", "-c", "command -v " + AProgram});
    return Probe.WaitForExit(cPatience) == 0;
}

/// The example site in a browser, under a policy that allows nothing but the site itself.
class Browser : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!IsInstalled("chromium"))
            GTEST_SKIP() << "chromium is not installed: the example site isn't tried in a browser";
        Server = std::make_unique<TServedSite>(
            ZN_EXAMPLE_SITE, std::vector<std::string>{"--demo", "--deflate", "--csp", "default-src 'self'"});
    }

    std::string Run(const std::string& ATarget, const std::string& AWhat)
    {
        TChildProcess Chromium(
            {"chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--user-data-dir=" + (Profile.Path() / "profile").string(), "--window-size=1200,900",
             "--virtual-time-budget=20000", AWhat, Server->Url(ATarget)});
        EXPECT_TRUE(Chromium.WaitForExit(2 * cPatience)) << "chromium didn't end";
        return Chromium.Output();
    }

    TTemporaryFolder Profile;
    std::unique_ptr<TServedSite> Server;
};

TEST_F(Browser, TheScriptsOfTheSiteFindAllChecksPassed)
{
    const std::string Page = Run("try.html", "--dump-dom");
    EXPECT_NE(Page.find(">9 of 9 checks passed<"), std::string::npos) << Page;
    EXPECT_NE(Page.find("00000640 "), std::string::npos) << "the range panel is empty";
}

TEST_F(Browser, PagesAreDrawn)
{
    for (const char* Target : {"", "files/"}) {
        const auto Picture = Profile.Path() / "page.png";
        Run(Target, "--screenshot=" + Picture.string());
        std::ifstream File(Picture, std::ios::binary);
        std::string Head(24, '\0');
        File.read(Head.data(), 24);
        EXPECT_TRUE(Head.starts_with("\x89PNG")) << Target;
        EXPECT_GT(std::filesystem::file_size(Picture), 10'000u) << Target << " is blank";
        std::filesystem::remove(Picture);
    }
}

} // namespace
} // namespace Zn
