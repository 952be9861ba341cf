/// A room on this machine: one server, and a client for everybody who talks.
///
///     build/bin/pipe-chat serve &
///     build/bin/pipe-chat Ada          (in one terminal)
///     build/bin/pipe-chat Grace        (in another one)

#include <atomic>
#include <cstdio>
#include <iostream>
#include <string>
#include <thread>

#include "uZnNamedPipes.h"

namespace
{

int Serve()
{
    TZnNamedPipeServer Room;
    Room.SetPipeName("chat");
    Room.SetMaxConnections(0); // as many as come

    // What comes is handled on this thread, in its pump below: no lock is needed for anything here.
    Room.OnDataReceivedS = [&](TZnNamedPipeConnectionID, const std::string& ALine) {
        Room.SendMsg(0, ALine); // 0: everybody, the sender too
    };
    Room.OnCmdReceivedS = [&](TZnNamedPipeConnectionID, const std::string& ACommand) {
        if (ACommand == "who")
            return std::to_string(Room.GetConnections().GetCount()) + " in the room";
        return "unknown command: " + ACommand;
    };
    Room.OnNamedPipeException = [](TZnNamedPipeConnectionID, const Exception& AException, bool&) {
        std::fprintf(stderr, "%s\n", AException.Message().c_str());
    };
    Room.Start();
    for (;;) {
        WaitMessage(INFINITE);
        ProcessMessages();
    }
}

int Talk(const std::string& AName)
{
    TZnNamedPipeClient Client;
    Client.SetPipeName("chat");
    // Lines are read on this thread, which can't pump meanwhile; what comes is shown by the connection's own.
    Client.SetReceiveSyncType(rsThreaded);
    Client.OnDataReceivedS = [](TZnNamedPipeConnectionID, const std::string& ALine) {
        std::printf("%s\n", ALine.c_str());
    };
    try {
        Client.Connect(5000);
        for (std::string Line; std::getline(std::cin, Line);) {
            if (Line == "/who")
                std::printf("%s\n", Client.SendCmd("who", 5000).c_str());
            else if (!Line.empty())
                Client.SendMsg(AName + ": " + Line);
        }
        Client.SendPing(5000); // what was sent before has been read when this is answered
    } catch (const EZnNamedPipe& Error) {
        std::fprintf(stderr, "%s\n", Error.Message().c_str());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "pipe-chat serve | NAME\n");
        return 2;
    }
    // Pipe components belong to the thread with the main queue.
    CreateMainQueue();
    return argv[1] == std::string("serve") ? Serve() : Talk(argv[1]);
}
