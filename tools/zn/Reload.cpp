#include "tools/zn/Reload.h"

#include <cstdio>
#include <utility>

#include "common/Exceptions.h"
#include "uZnHTTPServer.h"

namespace Zn
{

void TReload::Add(std::string AWhat, std::function<void()> ARead)
{
    FParts.push_back({std::move(AWhat), std::move(ARead)});
}

void TReload::Run() const
{
    ZnNotifyServiceManager(TZnServiceState::Reloading, "Reloading");
    std::string Kept;
    for (const TPart& Each : FParts) {
        try {
            Each.Read();
        } catch (const Exception& Error) {
            std::fprintf(stderr, "zn serve: %s kept as before: %s\n", Each.What.c_str(),
                         Error.Message().c_str());
            Kept += (Kept.empty() ? ", but kept: " : ", ") + Each.What;
        }
    }
    std::printf("Reloaded%s.\n", Kept.c_str());
    std::fflush(stdout);
    ZnNotifyServiceManager(TZnServiceState::Ready, "Reloaded" + Kept);
}

} // namespace Zn
