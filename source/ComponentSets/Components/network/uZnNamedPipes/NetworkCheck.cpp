#include "uZnNamedPipes/NetworkCheck.h"

#include "platform/sync/ThreadPriority.h"
#include "uZnNamedPipes/Connection.h"

TZnNamedPipeNetworkCheck::TZnNamedPipeNetworkCheck(TZnNamedPipeConnection* AConnection)
    : TThread("zn-pipe-probe"), FConnection(AConnection)
{
}

TZnNamedPipeNetworkCheck::~TZnNamedPipeNetworkCheck()
{
    Terminate();
    WaitFor();
}

void TZnNamedPipeNetworkCheck::Terminate()
{
    TThread::Terminate();
    FSleepEvent.SetEvent();
}

void TZnNamedPipeNetworkCheck::Execute()
{
    Zn::LowerThreadPriority();
    while (!GetTerminated()) {
        FSleepEvent.ResetEvent();
        if (!GetTerminated()) // its event may be the one that was just reset
            FSleepEvent.WaitFor(cInterval);
        if (FActive && !GetTerminated())
            FConnection->CheckConnectionState();
    }
}
