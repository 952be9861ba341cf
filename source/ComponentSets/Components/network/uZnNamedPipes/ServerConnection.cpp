#include "uZnNamedPipes/ServerConnection.h"

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "platform/messages/Messages.h"
#include "uZnNamedPipes/Server.h"

namespace
{

constexpr std::uint32_t cDescriptorRevision = 1;
constexpr std::uint32_t cDefaultTimeOut = 5000;

} // namespace

TZnNamedPipeServerConnection::TZnNamedPipeServerConnection(TZnNamedPipeServer* AServer)
    : TZnNamedPipeConnection(AServer), FServer(AServer)
{
    FApi->InitializeSecurityDescriptor(&FSecDescr, cDescriptorRevision);
    FApi->SetSecurityDescriptorDacl(&FSecDescr, true, nullptr, false); // no list: every client may connect
    FSecAttrib = {sizeof(FSecAttrib), &FSecDescr, true};
}

void TZnNamedPipeServerConnection::Execute()
{
    try {
        WaitForConnection();
    } catch (...) {
        HandOverException();
        FConnected = false;
    }
    if (!GetTerminated() && FConnected) {
        SendMessage(FOwner->FHWND, WM_NAMEDPIPE_CONNECTED, ZnPtr2Int(this), 0);
        TZnNamedPipeConnection::Execute();
        ClearReceivedData();
    } else {
        ClosePipeGracefully();
    }
    EndExecute();
}

void TZnNamedPipeServerConnection::WaitForConnection()
{
    CreateInstance();
    const THandle Handle = FPipeHandle;
    if (Handle == INVALID_HANDLE_VALUE)
        return;
    bool Succeeded = FApi->ConnectNamedPipe(Handle, &FConnectOverlapped);
    FErrorCode = Succeeded ? NO_ERROR : GetLastError();
    if (!Succeeded && (FErrorCode == ERROR_IO_PENDING || FErrorCode == ERROR_IO_INCOMPLETE)) {
        std::uint32_t Count = 0;
        Succeeded = FApi->GetOverlappedResult(Handle, &FConnectOverlapped, &Count, true);
        FErrorCode = Succeeded ? NO_ERROR : GetLastError();
    }
    // A client that opened the instance between the two calls is as good as one that came later.
    Succeeded = Succeeded || FErrorCode == ERROR_PIPE_CONNECTED;
    if (!Succeeded && !GetTerminated() && !FServer->FStopping)
        RaiseConnectError();
    FConnected = Succeeded && !GetTerminated();
}

void TZnNamedPipeServerConnection::CreateInstance()
{
    FPipeHandle = FApi->CreateNamedPipeW(
        Utf16FromUtf8(FPipeName).c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES,
        FOwner->FOutputBufferSize, FOwner->FInputBufferSize, cDefaultTimeOut, &FSecAttrib);
    if (FPipeHandle != INVALID_HANDLE_VALUE)
        return;
    FErrorCode = GetLastError();
    if (GetTerminated() || FServer->FStopping)
        return;
    FServer->FMaxConnections = -1; // or the next instance would fail in the same way, without end
    RaiseConnectError();
}

void TZnNamedPipeServerConnection::RaiseConnectError()
{
    throw EZnNamedPipeConnectError(FErrorCode, SysErrorMessage(FErrorCode));
}
