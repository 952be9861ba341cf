#include "uZnNamedPipes/ClientConnection.h"

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "platform/messages/Messages.h"
#include "uZnIPHelper.h"
#include "uZnNamedPipes/Client.h"
#include "uZnNamedPipes/NetworkLogon.h"

namespace
{

constexpr std::uint32_t cWaitForInstance = 1000;
constexpr std::uint32_t cPauseBehindLogon = 100;
constexpr int cPingBeforeLogon = 1000;
constexpr const char* cIsItRunning = "\r\nCheck if the server is running.";

bool IsNetworkError(std::uint32_t AError)
{
    return AError >= 50 && AError <= 60;
}

/// Refusals that a logon may help against.
bool IsRefusal(std::uint32_t AError)
{
    return AError == ERROR_LOGON_FAILURE || AError == ERROR_ACCESS_DENIED || AError == ERROR_INVALID_PASSWORD;
}

[[noreturn]] void RaiseNoPipe(std::uint32_t AError)
{
    throw EZnNamedPipeConnectError(AError, "Failed to connect to the specified named pipe!\r\n" +
                                               SysErrorMessage(AError) + cIsItRunning);
}

[[noreturn]] void RaiseNoGivenPipe(std::uint32_t AError)
{
    throw EZnNamedPipeConnectError(AError,
                                   std::string("Failed to connect to the given pipe!") + cIsItRunning);
}

} // namespace

TZnNamedPipeClientConnection::TZnNamedPipeClientConnection(TZnNamedPipeClient* AClient)
    : TZnNamedPipeConnection(AClient),
      FServerName(AClient->GetServerName().empty() ? "." : AClient->GetServerName()),
      FUserName(AClient->GetUserName()),
      FPassword(AClient->GetPassword()),
      FAutoReconnect(AClient->GetAutoReconnect()),
      FMinWaitBeforeReconnect(AClient->GetMinWaitBeforeReconnect())
{
}

void TZnNamedPipeClientConnection::Execute()
{
    do {
        bool LoggedOn = false;
        FConnecting = true;
        FConnected = false;
        FConnectEvent.ResetEvent();
        try {
            RunOnce(LoggedOn);
        } catch (...) {
            ClearReceivedData();
            FConnectEvent.SetEvent(); // Connect may be waiting, and the hand-over needs its thread
            HandOverException();
        }
        CancelNetworkConnection(LoggedOn);
        if (!GetTerminated() && FAutoReconnect)
            PauseBeforeReconnect();
    } while (!GetTerminated() && FAutoReconnect);
    EndExecute();
}

void TZnNamedPipeClientConnection::RunOnce(bool& ALoggedOn)
{
    ConnectToServer(ALoggedOn);
    FConnectEvent.SetEvent();
    FConnecting = !FConnected;
    if (!GetTerminated() && FConnected) {
        SendMessage(FOwner->FHWND, WM_NAMEDPIPE_CONNECTED, ZnPtr2Int(this), 0);
        FAnnounced->Set();
        TZnNamedPipeConnection::Execute();
        ClearReceivedData();
    } else {
        ClosePipeGracefully();
    }
}

void TZnNamedPipeClientConnection::PauseBeforeReconnect()
{
    FConnectEvent.ResetEvent();
    if (!GetTerminated()) // else its event may be the one that was just reset
        FConnectEvent.WaitFor(FMinWaitBeforeReconnect);
}

void TZnNamedPipeClientConnection::ConnectToServer(bool& ALoggedOn)
{
    FConnected = false;
    ALoggedOn = false;
    try {
        TryConnect(ALoggedOn);
    } catch (...) {
        ClosePipeGracefully(); // and FConnected with it: who waits for the attempt reads that
        CancelNetworkConnection(ALoggedOn);
        throw;
    }
}

void TZnNamedPipeClientConnection::TryConnect(bool& ALoggedOn)
{
    if (IsRemote() && !FUserName.empty())
        AddNetworkConnection(ALoggedOn);
    WaitForInstance();
    OpenPipe();
    if (IsRefusal(FErrorCode) && !ALoggedOn && IsRemote()) {
        AddNetworkConnection(ALoggedOn);
        FConnectEvent.WaitFor(cPauseBehindLogon); // or until the thread is told to end
        OpenPipe();
    }
    if (FErrorCode != NO_ERROR && FErrorCode != ERROR_PIPE_BUSY)
        RaiseNoPipe(FErrorCode);
    FConnected = !GetTerminated();
    constexpr std::uint32_t cMode = PIPE_READMODE_MESSAGE;
    if (!FApi->SetNamedPipeHandleState(FPipeHandle, &cMode, nullptr, nullptr))
        RaiseNoGivenPipe(FErrorCode); // a busy pipe ends here: nothing was opened
    if (!GetTerminated() && !FConnected)
        RaiseNoGivenPipe(ERROR_PIPE_NOT_CONNECTED);
}

void TZnNamedPipeClientConnection::AddNetworkConnection(bool& ALoggedOn)
{
    ALoggedOn = false;
    Ping(FServerName, cPingBeforeLogon, ipV4); // wakes the way there; an answer isn't needed
    try {
        WNetAddConnection2(FServerName, FUserName, FPassword);
    } catch (const EZnNamedPipe& Refused) {
        throw EZnNamedPipeConnectError(Refused.GetErrorCode(),
                                       "Failed to connect to the specified server!\r\n" +
                                           SysErrorMessage(Refused.GetErrorCode()) + cIsItRunning);
    }
    ALoggedOn = true;
}

void TZnNamedPipeClientConnection::CancelNetworkConnection(bool& ALoggedOn)
{
    if (ALoggedOn)
        WNetCancelConnection2W(FServerName);
    ALoggedOn = false;
}

void TZnNamedPipeClientConnection::WaitForInstance()
{
    if (FApi->WaitNamedPipeW(Utf16FromUtf8(FPipeName).c_str(), cWaitForInstance))
        return;
    FErrorCode = GetLastError();
    if (FErrorCode == ERROR_FILE_NOT_FOUND || IsNetworkError(FErrorCode))
        RaiseNoPipe(FErrorCode);
    // Any other answer is let pass: a busy server is tried all the same.
}

void TZnNamedPipeClientConnection::OpenPipe()
{
    FPipeHandle = FApi->CreateFileW(Utf16FromUtf8(FPipeName).c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OVERLAPPED | FILE_ATTRIBUTE_NORMAL, 0);
    FErrorCode = FPipeHandle != INVALID_HANDLE_VALUE ? NO_ERROR : GetLastError();
}
