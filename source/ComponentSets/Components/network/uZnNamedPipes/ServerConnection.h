#pragma once

#include "uZnNamedPipes/Connection.h"

class TZnNamedPipeServer;

/// One instance of a server's pipe: waits for its client, serves it, and ends.
class TZnNamedPipeServerConnection : public TZnNamedPipeConnection
{
public:
    explicit TZnNamedPipeServerConnection(TZnNamedPipeServer* AServer);

protected:
    void Execute() override;

private:
    void WaitForConnection();
    void CreateInstance();
    [[noreturn]] void RaiseConnectError();

    TZnNamedPipeServer* const FServer;
    TSECURITY_DESCRIPTOR FSecDescr;
    TSECURITY_ATTRIBUTES FSecAttrib;
};
