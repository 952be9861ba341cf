#include "tools/zn/pipe/Waiting.h"

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/messages/Messages.h"

Zn::StopSignal::StopSignal()
{
    sigset_t Stop;
    sigemptyset(&Stop);
    sigaddset(&Stop, SIGINT);
    sigaddset(&Stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &Stop, nullptr);
    FSignals = signalfd(-1, &Stop, SFD_CLOEXEC);
    CreateMainQueue();
}

Zn::StopSignal::~StopSignal()
{
    close(FSignals);
}

bool Zn::StopSignal::Serve(int AMilliseconds, int AInput)
{
    pollfd Entries[] = {{FSignals, POLLIN, 0}, {QueueFd(), POLLIN, 0}, {AInput, POLLIN, 0}};
    const bool IsReady = poll(Entries, 3, AMilliseconds) > 0;
    FHasInput = IsReady && Entries[2].revents != 0;
    ProcessMessages();
    return !IsReady || Entries[0].revents == 0;
}
