#include <memory>
#include <new>
#include <string>
#include <system_error>

#include <sys/socket.h>

#include "platform/errors/Errors.h"
#include "platform/pipes/OpenPipe.h"
#include "platform/pipes/Pipe.h"
#include "platform/pipes/PipeName.h"
#include "platform/pipes/Pipes.h"
#include "platform/sync/Event.h"
#include "platform/text/Unicode.h"

namespace
{

using Zn::Pipe;
using Zn::PipeName;
using Zn::PipeStream;

constexpr std::uint32_t cDefaultWait = 5000;

enum Operation : std::uintptr_t { opNone, opConnect, opRead };

/// What WaitNamedPipeW found, for the CreateFileW that follows on the same thread.
struct Reservation
{
    std::string Host;
    std::string Name;
    std::shared_ptr<PipeStream> Stream;
    std::uint32_t Refusal = NO_ERROR; // of another host, which is not asked the same twice
};
thread_local Reservation tReserved;

bool Told(std::uint32_t AError)
{
    if (AError == NO_ERROR)
        return true;
    SetLastError(AError);
    return false;
}

/// Runs AWork, whose result is an error number, for a function that must not throw.
template <class TWork>
std::uint32_t Guarded(TWork AWork) noexcept
{
    try {
        return AWork();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::system_error&) { // no thread for the way to another host
        return ERROR_NO_SYSTEM_RESOURCES;
    }
}

std::optional<PipeName> ParseName(const char16_t* AName)
{
    return AName ? PipeName::Parse(Zn::Utf8FromUtf16(AName)) : std::nullopt;
}

std::uint32_t Register(std::shared_ptr<KernelObject> AObject, THandle& AHandle)
{
    AHandle = RegisterHandle(std::move(AObject));
    return AHandle != 0 ? NO_ERROR : GetLastError();
}

unsigned SocketMode(const TSECURITY_ATTRIBUTES* ASecurity)
{
    const auto* Descriptor = ASecurity ? ASecurity->lpSecurityDescriptor : nullptr;
    const bool IsForEverybody = Descriptor && Descriptor->DaclPresent && Descriptor->Dacl == nullptr;
    return IsForEverybody ? 0666 : 0600;
}

/// The connection behind a handle, or why there is none.
std::shared_ptr<PipeStream> ConnectedStream(THandle APipe)
{
    const auto Found = LookupHandleAs<Pipe>(APipe);
    if (!Found)
        return nullptr; // and GetLastError tells
    auto Stream = Found->Stream();
    if (!Stream)
        SetLastError(ERROR_PIPE_NOT_CONNECTED);
    return Stream;
}

bool Told(PipeStream::Outcome AOutcome, std::uint32_t* ACount)
{
    if (ACount)
        *ACount = AOutcome.Count;
    return Told(AOutcome.Error);
}

bool ReadNext(PipeStream& AStream, std::span<std::byte> AChunk, std::uint32_t* ACount,
              TOVERLAPPED* AOverlapped)
{
    const auto Outcome = AStream.Read(AChunk);
    if (AOverlapped)
        AOverlapped->Rest = AStream.RestOfMessage();
    return Told(Outcome, ACount);
}

std::uint32_t FinishConnect(THandle APipe, const TOVERLAPPED& AOverlapped, bool AWait)
{
    const auto Found = LookupHandleAs<Pipe>(APipe);
    if (!Found)
        return ERROR_INVALID_HANDLE;
    const auto Event = AOverlapped.hEvent != 0 ? LookupHandleAs<TZnKernelEvent>(AOverlapped.hEvent) : nullptr;
    return Guarded([&] { return Found->FinishConnect(Event ? Event->PollFd() : -1, AWait); });
}

} // namespace

THandle CreateNamedPipeW(const char16_t* AName, std::uint32_t AOpenMode, std::uint32_t APipeMode,
                         std::uint32_t AMaxInstances, std::uint32_t /*AOutBufferSize*/,
                         std::uint32_t /*AInBufferSize*/, std::uint32_t /*ADefaultTimeOut*/,
                         const TSECURITY_ATTRIBUTES* ASecurity)
{
    THandle Handle = 0;
    const bool Made = Told(Guarded([&]() -> std::uint32_t {
        const auto Name = ParseName(AName);
        if (!Name || !Name->Host.empty())
            return ERROR_INVALID_NAME;
        if ((AOpenMode & PIPE_ACCESS_DUPLEX) != PIPE_ACCESS_DUPLEX ||
            AMaxInstances != PIPE_UNLIMITED_INSTANCES ||
            APipeMode != (PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT))
            return ERROR_INVALID_PARAMETER;
        const std::string File = Name->FileName();
        const unsigned Mode = SocketMode(ASecurity);
        Zn::ServedPipe::Instance Instance;
        const std::uint32_t Error = Zn::ServedPipe::AddInstance(File, Mode, Instance);
        if (Error != NO_ERROR)
            return Error;
        return Register(std::make_shared<Pipe>(File, Mode, std::move(Instance)), Handle);
    }));
    return Made ? Handle : INVALID_HANDLE_VALUE;
}

bool ConnectNamedPipe(THandle APipe, TOVERLAPPED* AOverlapped)
{
    const auto Found = LookupHandleAs<Pipe>(APipe);
    if (!Found)
        return false;
    std::uint32_t Error = Guarded([&] { return Found->BeginConnect(); });
    if (Error == ERROR_IO_PENDING && AOverlapped)
        AOverlapped->Internal = opConnect;
    else if (Error == ERROR_IO_PENDING)
        Error = Guarded([&] { return Found->FinishConnect(-1, true); });
    return Told(Error);
}

bool DisconnectNamedPipe(THandle APipe)
{
    const auto Found = LookupHandleAs<Pipe>(APipe);
    return Found && Told(Found->Disconnect());
}

bool WaitNamedPipeW(const char16_t* AName, std::uint32_t AMilliseconds)
{
    return Told(Guarded([&]() -> std::uint32_t {
        const auto Name = ParseName(AName);
        if (!Name)
            return ERROR_INVALID_NAME;
        tReserved = {Name->Host, Name->Name, nullptr, NO_ERROR};
        const std::uint32_t Error = Zn::OpenPipeWithin(
            *Name, AMilliseconds == NMPWAIT_USE_DEFAULT_WAIT ? cDefaultWait : AMilliseconds,
            tReserved.Stream);
        if (!Name->Host.empty())
            tReserved.Refusal = Error == ERROR_SEM_TIMEOUT ? ERROR_PIPE_BUSY : Error;
        return Error;
    }));
}

THandle CreateFileW(const char16_t* AName, std::uint32_t /*AAccess*/, std::uint32_t /*AShareMode*/,
                    const TSECURITY_ATTRIBUTES* /*ASecurity*/, std::uint32_t ADisposition,
                    std::uint32_t /*AFlags*/, THandle /*ATemplate*/)
{
    THandle Handle = 0;
    const bool Opened = Told(Guarded([&]() -> std::uint32_t {
        const auto Name = ParseName(AName);
        if (!Name)
            return ERROR_INVALID_NAME;
        if (ADisposition != OPEN_EXISTING)
            return ERROR_INVALID_PARAMETER;
        Reservation Reserved = std::move(tReserved);
        tReserved = {};
        std::shared_ptr<PipeStream> Stream;
        if (Reserved.Host == Name->Host && Reserved.Name == Name->Name) {
            if (Reserved.Refusal != NO_ERROR)
                return Reserved.Refusal;
            Stream = std::move(Reserved.Stream);
        }
        const std::uint32_t Error = Stream ? NO_ERROR : Zn::OpenPipe(*Name, Stream);
        return Error != NO_ERROR ? Error : Register(std::make_shared<Pipe>(std::move(Stream)), Handle);
    }));
    return Opened ? Handle : INVALID_HANDLE_VALUE;
}

bool SetNamedPipeHandleState(THandle APipe, const std::uint32_t* AMode,
                             const std::uint32_t* /*AMaxCollection*/,
                             const std::uint32_t* /*ACollectTimeout*/)
{
    if (!LookupHandleAs<Pipe>(APipe))
        return false;
    return Told(AMode && *AMode != PIPE_READMODE_MESSAGE ? ERROR_NOT_SUPPORTED : NO_ERROR);
}

bool ReadFile(THandle APipe, void* ABuffer, std::uint32_t ASize, std::uint32_t* ACount,
              TOVERLAPPED* AOverlapped)
{
    if (ACount)
        *ACount = 0;
    const auto Stream = ConnectedStream(APipe);
    if (!Stream)
        return false;
    // A chunk that goes on is told by GetOverlappedResult, like one that has to be waited for.
    if (AOverlapped && !Stream->HasMessageEnd(ASize)) {
        AOverlapped->Internal = opRead;
        AOverlapped->InternalHigh = ASize;
        AOverlapped->Pointer = ABuffer;
        return Told(ERROR_IO_PENDING);
    }
    return ReadNext(*Stream, {static_cast<std::byte*>(ABuffer), ASize}, ACount, AOverlapped);
}

bool WriteFile(THandle APipe, const void* ABuffer, std::uint32_t ASize, std::uint32_t* ACount,
               TOVERLAPPED* /*AOverlapped*/)
{
    return ZnWritePipeGather(APipe, {}, {static_cast<const std::byte*>(ABuffer), ASize}, ACount);
}

bool ZnWritePipeGather(THandle APipe, std::span<const std::byte> AHead, std::span<const std::byte> ABody,
                       std::uint32_t* ACount)
{
    if (ACount)
        *ACount = 0;
    const auto Stream = ConnectedStream(APipe);
    return Stream && Told(Stream->Write(AHead, ABody), ACount);
}

bool GetOverlappedResult(THandle APipe, TOVERLAPPED* AOverlapped, std::uint32_t* ACount, bool AWait)
{
    if (ACount)
        *ACount = 0;
    if (AOverlapped->Internal == opConnect)
        return Told(FinishConnect(APipe, *AOverlapped, AWait));
    if (AOverlapped->Internal != opRead)
        return Told(ERROR_INVALID_PARAMETER);
    const auto Stream = ConnectedStream(APipe);
    if (!Stream)
        return false;
    if (!AWait && !Stream->IsReadable())
        return Told(ERROR_IO_INCOMPLETE);
    AOverlapped->Internal = opNone;
    return ReadNext(*Stream, {static_cast<std::byte*>(AOverlapped->Pointer), AOverlapped->InternalHigh},
                    ACount, AOverlapped);
}

bool CancelIo(THandle APipe)
{
    return LookupHandleAs<Pipe>(APipe) != nullptr;
}

bool InitializeSecurityDescriptor(TSECURITY_DESCRIPTOR* ADescriptor, std::uint32_t ARevision)
{
    *ADescriptor = {};
    ADescriptor->Revision = static_cast<std::uint8_t>(ARevision);
    return true;
}

bool SetSecurityDescriptorDacl(TSECURITY_DESCRIPTOR* ADescriptor, bool APresent, const void* ADacl,
                               bool /*ADefaulted*/)
{
    ADescriptor->DaclPresent = APresent;
    ADescriptor->Dacl = ADacl;
    return true;
}

bool ZnGetNamedPipePeer(THandle APipe, TZnPipePeer* APeer)
{
    const auto Stream = ConnectedStream(APipe);
    if (!Stream)
        return false;
    if (!Stream->HasPeer())
        return Told(ERROR_NOT_SUPPORTED);
    ucred Credentials{};
    socklen_t Length = sizeof(Credentials);
    if (getsockopt(Stream->Fd(), SOL_SOCKET, SO_PEERCRED, &Credentials, &Length) != 0)
        return Told(ERROR_PIPE_NOT_CONNECTED);
    *APeer = {static_cast<std::uint32_t>(Credentials.pid), Credentials.uid, Credentials.gid};
    return true;
}
