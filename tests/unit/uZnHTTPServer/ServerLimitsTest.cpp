#include "uZnHTTPServer/ServerLimits.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "common/Exceptions.h"
#include "uZnHTTPServer.h"

TEST(ServerLimits, StandOnThePageAsTheyAreInTheCode)
{
    std::ifstream Page(ZN_OPERATIONS_PAGE);
    std::stringstream Text;
    Text << Page.rdbuf();
    for (const TZnHTTPServerLimit& Each : ZnHTTPServerLimits()) {
        const std::string Row = "| `" + std::string(Each.Name) + "` | " + std::to_string(Each.Default) +
                                " | " + Each.Unit + " | " + (Each.Zero != nullptr ? Each.Zero : "refused") +
                                " | " + Each.What + " |\n";
        EXPECT_NE(Text.str().find(Row), std::string::npos) << Row;
    }
}

TEST(ServerLimits, AreSetByNameWithinTheirRange)
{
    const std::int32_t Buffer = RequestBufferSize;
    TZnHTTPServer Server(nullptr);
    for (const TZnHTTPServerLimit& Each : ZnHTTPServerLimits()) {
        ZnSetHTTPServerLimit(Server, Each.Name, Each.Least);
        ZnSetHTTPServerLimit(Server, Each.Name, Each.Most);
        EXPECT_THROW(ZnSetHTTPServerLimit(Server, Each.Name, Each.Most + 1), EInvalidArgument) << Each.Name;
        if (Each.Least > 0)
            EXPECT_THROW(ZnSetHTTPServerLimit(Server, Each.Name, Each.Least - 1), EInvalidArgument)
                << Each.Name;
        else
            EXPECT_NE(Each.Zero, nullptr) << Each.Name;
        ZnSetHTTPServerLimit(Server, Each.Name, Each.Default);
    }
    EXPECT_THROW(ZnSetHTTPServerLimit(Server, "idlewait", 1), EInvalidArgument);
    EXPECT_EQ(RequestBufferSize, 2048);
    RequestBufferSize = Buffer;
    EXPECT_EQ(Server.GetMaxBodySize(), TZnHTTPServer(nullptr).GetMaxBodySize());
    const TZnHttpServiceLimits Limits = Server.GetServiceLimits(), Defaults;
    EXPECT_EQ(Limits.IdleWait, Defaults.IdleWait);
    EXPECT_EQ(Limits.HeaderFields, Defaults.HeaderFields);
}
