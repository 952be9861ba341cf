#pragma once

#include "uZnHTTPClient/Connections.h"
#include "uZnHTTPClient/RequestHandle.h"

class TZnWinHTTPConnection final : public TZnHTTPConnection
{
public:
    using TZnHTTPConnection::TZnHTTPConnection;
    ~TZnWinHTTPConnection() override { Close(); }

private:
    void CloseConnection(void* AConnection) override;
};

class TZnWinHTTPRequestHandle final : public TZnHTTPRequestHandle
{
public:
    using TZnHTTPRequestHandle::TZnHTTPRequestHandle;
    ~TZnWinHTTPRequestHandle() override { TZnWinHTTPRequestHandle::CloseHandle(); }

    void CloseHandle() override;
};
