#include "uZnHTTPServer/ServiceManager.h"

#include <algorithm>

#include "platform/servicemanager/HandedSockets.h"
#include "platform/servicemanager/Notification.h"
#include "uZnHTTPServer/Failures.h"

std::vector<TZnListenSocket> ZnTakeListenSockets()
{
    std::vector<Zn::HandedSocket> Handed;
    std::string Problem;
    const std::uint32_t Result = Zn::TakeHandedSockets(Handed, Problem);
    CheckResult(Result, "What the service manager handed in can't be used: " + Problem + ".");
    std::vector<TZnListenSocket> Sockets;
    for (Zn::HandedSocket& Each : Handed)
        Sockets.push_back({Each.Fd, std::move(Each.Name), Each.Port});
    return Sockets;
}

bool ZnNotifyServiceManager(TZnServiceState AState, const std::string& AStatus)
{
    std::string Text = AState == TZnServiceState::Ready       ? "READY=1"
                       : AState == TZnServiceState::Reloading ? "RELOADING=1\n" + Zn::MonotonicStamp()
                                                              : "STOPPING=1";
    Text += "\nSTATUS=" + AStatus;
    // A line end would begin another assignment.
    std::replace(Text.end() - static_cast<std::ptrdiff_t>(AStatus.size()), Text.end(), '\n', ' ');
    return Zn::NotifyServiceManager(Text);
}
