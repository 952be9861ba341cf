/// A server, a client and a pipe in one program, as an application writes them. Prints what each of them
/// said. The argument is a free port.

#include <iostream>

#include <uZnHTTPServer.h>
#include <uZnNamedPipes.h>
#include <uZnWLAN.h>
#include <uZnWinHTTP.h>

int main(int, char** argv)
{
    CreateMainQueue();

    const std::string Url = std::string("http://localhost:") + argv[1] + "/";
    TZnHTTPServer Server(nullptr);
    Server.SetBindings({Url});
    Server.SetOnResponse([](auto&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse) {
        if (ARequest->UrlData.Document != "hello")
            throw EZnHTTPNotFound("Nothing but /hello");
        AResponse.SetResponseText("hello to " + ARequest->RemoteIp);
    });
    Server.SetActive(true);

    TZnHTTPClient Client(true); // the transport registered itself
    std::cout << Client.Request(httpGET, Url + "hello", true)->GetResponse() << "\n";
    try {
        Client.Request(httpGET, Url + "other", true);
    } catch (const EZnHTTPException& Error) { // thrown inside of the library
        std::cout << "error " << Error.GetErrorCode() << "\n";
    }

    TZnNamedPipeServer Room;
    Room.SetPipeName("consumer");
    Room.SetReceiveSyncType(rsThreaded);
    Room.OnCmdReceivedS = [](TZnNamedPipeConnectionID, const std::string& ACommand) {
        return "pipe: " + ACommand;
    };
    int Met = 0; // told on this thread, which pumps below
    Room.OnConnected = [&](TZnNamedPipeConnectionID) { ++Met; };
    Room.Start();
    TZnNamedPipeClient Guest;
    Guest.SetPipeName("consumer");
    Guest.OnConnected = Room.OnConnected;
    Guest.SetMinWaitBeforeReconnect(10); // the server's thread may not have made the pipe yet
    Guest.Connect(-1);
    for (int Turn = 0; Turn < 100 && Met < 2; ++Turn) {
        WaitMessage(100);
        ProcessMessages();
    }
    std::cout << Guest.SendCmd("knock", 5000) << "\n";

    std::cout << "wlan " << (WlanAvailable() ? "there" : "missing")
              << "\n"; // a shared object, found by its name
}
