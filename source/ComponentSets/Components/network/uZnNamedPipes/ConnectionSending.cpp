/// A connection's other half: what any thread writes, and waits for.

#include <cmath>
#include <cstring>

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "uZnNamedPipes/Connection.h"

namespace
{

std::span<const std::byte> Bytes(const void* ABuffer, std::size_t ASize)
{
    return {static_cast<const std::byte*>(ABuffer), ASize};
}

/// The length of a text as a block's size.
std::uint32_t BlockSize(std::string_view AText)
{
    if (AText.size() > INT32_MAX)
        throw EZnNamedPipeWriteError(ERROR_INVALID_PARAMETER, SysErrorMessage(ERROR_INVALID_PARAMETER));
    return static_cast<std::uint32_t>(AText.size());
}

} // namespace

void TZnNamedPipeConnection::SendMsg(const void* ABuffer, std::uint32_t ABufSize, TZnDataBufType ADataType)
{
    WriteFrame(Zn::MakeDataHead(ADataType, ABufSize), Bytes(ABuffer, ABufSize));
}

void TZnNamedPipeConnection::SendMsg(const AnsiString& AMessage)
{
    SendMsg(AMessage.data(), BlockSize(AMessage), btAString);
}

void TZnNamedPipeConnection::SendMsg(const std::string& AMessage)
{
    SendMsg(AMessage.data(), BlockSize(AMessage), btUTF8);
}

/// Takes the next number for a command or, with its time, a ping.
std::int64_t TZnNamedPipeConnection::BeginCommand(const TDateTime* APingSendOn)
{
    TZnLockGuard Guard(FCommandProtect);
    ZnAssert(FCommandID == 0 && FCommandResult == nullptr); // one at a time per connection
    FCommandEvent.ResetEvent();
    FCommandID = ++FLastCommandID;
    FPinging = APingSendOn != nullptr;
    FPingSendOn = APingSendOn ? *APingSendOn : 0;
    return FCommandID;
}

/// The answer that came, or nullptr; none is waited for from now on.
PZnNamedPipeData TZnNamedPipeConnection::EndCommand()
{
    TZnLockGuard Guard(FCommandProtect);
    FCommandID = 0;
    FPinging = false;
    return std::exchange(FCommandResult, nullptr);
}

PZnDataBuffer TZnNamedPipeConnection::SendCmd(const void* ABuffer, std::uint32_t ABufSize,
                                              std::uint32_t ATimeOut, TZnDataBufType ADataType)
{
    const std::int64_t CommandID = BeginCommand(nullptr);
    try {
        WriteFrame(Zn::MakeCommandHead(dtCmdRequest, CommandID, ADataType, ABufSize),
                   Bytes(ABuffer, ABufSize));
    } catch (...) {
        DestroyDataRec(EndCommand());
        throw;
    }
    FCommandEvent.WaitFor(ATimeOut);
    const PZnNamedPipeData Answer = EndCommand();
    if (!Answer)
        throw EZnNamedPipeReadTimeOut(ERROR_NO_DATA,
                                      "The server has not responded within the specified timeout!");
    const std::unique_ptr<TZnNamedPipeData, void (*)(PZnNamedPipeData)> Holder(Answer, DestroyDataRec);
    return ZnCloneDataBuffer(Answer->Data);
}

AnsiString TZnNamedPipeConnection::SendCmd(const AnsiString& ACommand, std::uint32_t ATimeOut)
{
    const Zn::DataBufferHolder Answer(SendCmd(ACommand.data(), BlockSize(ACommand), ATimeOut, btAString));
    return AnsiString(Zn::DataBufferToAnsi(*Answer.Get()));
}

std::string TZnNamedPipeConnection::SendCmd(const std::string& ACommand, std::uint32_t ATimeOut)
{
    const Zn::DataBufferHolder Answer(SendCmd(ACommand.data(), BlockSize(ACommand), ATimeOut, btUTF8));
    return Zn::DataBufferToString(*Answer.Get());
}

int TZnNamedPipeConnection::SendPing(std::uint32_t ATimeOut)
{
    const TDateTime SendOn = Now();
    BeginCommand(&SendOn);
    try {
        const auto Frame = Zn::MakePingRequest(SendOn);
        WriteToPipe(Frame.data(), static_cast<std::uint32_t>(Frame.size()));
    } catch (...) {
        DestroyDataRec(EndCommand());
        throw;
    }
    FCommandEvent.WaitFor(ATimeOut);
    const PZnNamedPipeData Answer = EndCommand();
    if (!Answer)
        return -1;
    constexpr double cMillisecondsPerDay = 24.0 * 3600 * 1000;
    const double Time = (Zn::PingReceivedOn(Answer->BufData->Bytes()) - SendOn) * cMillisecondsPerDay;
    DestroyDataRec(Answer);
    // The peer's clock is the peer's word: what no clock shows is no answer.
    return std::isfinite(Time) && std::fabs(Time) < INT32_MAX ? static_cast<int>(Time) : -1;
}

void TZnNamedPipeConnection::WriteToPipe(const void* ABuffer, std::uint32_t ABufSize)
{
    WriteFrame({}, Bytes(ABuffer, ABufSize));
}

void TZnNamedPipeConnection::CheckConnectionState()
{
    if (!FConnected || GetTerminated() || !FWriteLock.TryEnter())
        return;
    try {
        const auto Frame = Zn::MakeNetworkCheck(Now());
        WriteToPipe(Frame.data(), static_cast<std::uint32_t>(Frame.size()));
    } catch (const Exception&) { // the connection is marked broken, and its reader woken
    }
    FWriteLock.Leave();
}

/// The single point through which every frame leaves: one message of AHead and ABody.
void TZnNamedPipeConnection::WriteFrame(std::span<const std::byte> AHead, std::span<const std::byte> ABody)
{
    const std::size_t Length = AHead.size() + ABody.size();
    if (Length > INT32_MAX) // nothing was written: the connection stands
        throw EZnNamedPipeWriteError(ERROR_INVALID_PARAMETER, SysErrorMessage(ERROR_INVALID_PARAMETER));
    TZnLockGuard Guard(FWriteLock);
    if (GetTerminated())
        throw EZnNamedPipeWriteError(ERROR_PIPE_NOT_CONNECTED,
                                     "Failed to write data!\r\nThe connection has been terminated.");
    if (!FConnected)
        throw EZnNamedPipeWriteError(ERROR_PIPE_NOT_CONNECTED,
                                     "Failed to write data!\r\nThe named pipe is not connected.");
    FWriteEvent.ResetEvent();
    std::uint32_t Count = 0;
    const bool Succeeded = WriteParts(AHead, ABody, Count);
    const std::uint32_t Error = Succeeded ? NO_ERROR : GetLastError();
    if (!Succeeded)
        JudgeWrite(Error);
    if (Length != 0 && Count != Length) {
        MarkBroken();
        throw EZnNamedPipeWriteError(ERROR_WRITE_FAULT, "Failed to write the entire buffer!");
    }
}

bool TZnNamedPipeConnection::WriteParts(std::span<const std::byte> AHead, std::span<const std::byte> ABody,
                                        std::uint32_t& ACount)
{
    constexpr std::size_t cSmall = 1024;
    const THandle Handle = FPipeHandle;
    const std::size_t Length = AHead.size() + ABody.size();
    std::byte Small[cSmall];
    std::vector<std::byte> Joined;
    std::span<const std::byte> Frame = ABody;
    if (!AHead.empty()) {
        if (Length > cSmall && FApi->ZnWritePipeGather)
            return FApi->ZnWritePipeGather(Handle, AHead, ABody, &ACount);
        std::byte* Place = Small;
        if (Length > cSmall) {
            Joined.resize(Length);
            Place = Joined.data();
        }
        std::memcpy(Place, AHead.data(), AHead.size());
        if (!ABody.empty())
            std::memcpy(Place + AHead.size(), ABody.data(), ABody.size());
        Frame = {Place, Length};
    }
    const auto Size = static_cast<std::uint32_t>(Frame.size());
    if (FApi->WriteFile(Handle, Frame.data(), Size, &ACount, &FWriteOverlapped))
        return true;
    const std::uint32_t Error = GetLastError();
    return (Error == ERROR_IO_PENDING || Error == ERROR_MORE_DATA) &&
           FApi->GetOverlappedResult(Handle, &FWriteOverlapped, &ACount, true);
}

void TZnNamedPipeConnection::JudgeWrite(std::uint32_t AError)
{
    switch (AError) {
    case NO_ERROR:
    case ERROR_HANDLE_EOF:
        return;
    case ERROR_PIPE_BUSY: // the connection stands
        throw EZnNamedPipeWriteError(AError, SysErrorMessage(AError));
    case ERROR_MORE_DATA:
        MarkBroken();
        ZnAssert(
            false,
            "Not all data was written successfully to the pipe! This errorcode should not have occurred!");
        return;
    default:
        MarkBroken();
        throw EZnNamedPipeWriteError(AError, SysErrorMessage(AError));
    }
}

void TZnNamedPipeConnection::MarkBroken()
{
    FConnected = false;
    SetAllEvents();
}
