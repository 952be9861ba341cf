#pragma once

#include <cstdint>
#include <span>

#include "platform/sync/Handle.h"

/// Message pipes between processes: the functions behind "Kernel32.dll" that the pipe components use,
/// and those of "Mpr.dll" (the logon at another host).
///
///   server                                     client
///   CreateNamedPipeW("\\.\pipe\name")
///   ConnectNamedPipe   <---- Unix socket ----  WaitNamedPipeW, CreateFileW("\\.\pipe\name")
///   ReadFile, WriteFile    <-- messages -->    ReadFile, WriteFile
///   DisconnectNamedPipe, CloseHandle           CloseHandle
///
/// Each write is one message of up to 2^31 - 1 bytes, on the wire 4 bytes of length (little-endian)
/// and the bytes. A message is read in chunks of any size.
///
/// Names: `\\host\pipe\name`; the host "." or none at all is this machine. The socket `name` stands
/// in the pipes' folder: $ZN_PIPE_DIR, else /run/zn-pipes where it is or can be made, else zn-pipes
/// in the user's runtime folder ($XDG_RUNTIME_DIR, /run/user/UID). A client looks in all of these.
/// Another host is reached through SSH (platform/pipes/ssh).
///
/// Threads: any; one reader and one writer at a time per pipe. CloseHandle and DisconnectNamedPipe
///          wake a thread that waits in a read, a write or a connect of that pipe.
/// Errors:  false, with the number in GetLastError.

/// The state of one read or connect between the call that begins it and GetOverlappedResult, which
/// carries it out: nothing runs in between, and the buffer given to ReadFile is filled there.
struct TOVERLAPPED
{
    std::uintptr_t Internal = 0;     // which operation is begun
    std::uintptr_t InternalHigh = 0; // length of the buffer
    void* Pointer = nullptr;         // the buffer
    THandle hEvent = 0;              // set: ends the wait of a connect with ERROR_IO_INCOMPLETE
    std::uint32_t Rest = 0; // behind a read: how much is to come of this message or, if its length is
                            // here, of the next one; 0: not known
};

/// Who may open a pipe. Without a descriptor, or without a DACL in it: processes of the same user.
/// With a null DACL: everybody who can reach the folder.
struct TSECURITY_DESCRIPTOR
{
    std::uint8_t Revision = 0;
    bool DaclPresent = false;
    bool SaclPresent = false;
    const void* Dacl = nullptr;
    const void* Sacl = nullptr;
};
struct TSECURITY_ATTRIBUTES
{
    std::uint32_t nLength = 0;
    TSECURITY_DESCRIPTOR* lpSecurityDescriptor = nullptr;
    bool bInheritHandle = false;
};

inline constexpr std::uint32_t PIPE_ACCESS_DUPLEX = 3;
inline constexpr std::uint32_t FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr std::uint32_t FILE_FLAG_OVERLAPPED = 0x40000000;
inline constexpr std::uint32_t GENERIC_READ = 0x80000000;
inline constexpr std::uint32_t GENERIC_WRITE = 0x40000000;
inline constexpr std::uint32_t FILE_SHARE_READ = 1;
inline constexpr std::uint32_t FILE_SHARE_WRITE = 2;
inline constexpr std::uint32_t OPEN_EXISTING = 3;
inline constexpr std::uint32_t PIPE_WAIT = 0;
inline constexpr std::uint32_t PIPE_READMODE_MESSAGE = 2;
inline constexpr std::uint32_t PIPE_TYPE_MESSAGE = 4;
inline constexpr std::uint32_t PIPE_UNLIMITED_INSTANCES = 255;
inline constexpr std::uint32_t NMPWAIT_USE_DEFAULT_WAIT = 0;
inline constexpr std::uint32_t NMPWAIT_WAIT_FOREVER = 0xFFFFFFFF;

/// One new instance of a pipe of this machine, which a client may open from now on. All instances
/// of a name belong to one process: ERROR_ALREADY_EXISTS while another one serves it. A socket that
/// a dead process left is replaced. AMaxInstances is PIPE_UNLIMITED_INSTANCES, the modes are those of a
/// duplex message pipe; buffer sizes and the default time are advice that this service has no use for.
/// INVALID_HANDLE_VALUE on failure: ERROR_INVALID_NAME, ERROR_FILENAME_EXCED_RANGE, ERROR_INVALID_PARAMETER,
/// ERROR_PATH_NOT_FOUND (no folder can be had), ERROR_ACCESS_DENIED (no right to write there).
THandle CreateNamedPipeW(const char16_t* AName, std::uint32_t AOpenMode, std::uint32_t APipeMode,
                         std::uint32_t AMaxInstances, std::uint32_t AOutBufferSize,
                         std::uint32_t AInBufferSize, std::uint32_t ADefaultTimeOut,
                         const TSECURITY_ATTRIBUTES* ASecurity);

/// Waits until a client opens the instance. With AOverlapped: false with ERROR_IO_PENDING, and
/// GetOverlappedResult waits. False with ERROR_PIPE_CONNECTED when a client came before the call.
bool ConnectNamedPipe(THandle APipe, TOVERLAPPED* AOverlapped);

/// Ends a server's connection: the peer reads what was written before, then its end. The instance
/// may wait for another client.
bool DisconnectNamedPipe(THandle APipe);

/// Waits until an instance of the pipe is free, at most AMilliseconds (0: 5 s). The instance is
/// kept for the calling thread's next CreateFileW of that name, so that nobody takes it in between.
/// ERROR_FILE_NOT_FOUND without a server, ERROR_SEM_TIMEOUT while all instances stay taken,
/// ERROR_ACCESS_DENIED.
bool WaitNamedPipeW(const char16_t* AName, std::uint32_t AMilliseconds);

/// Opens a pipe. INVALID_HANDLE_VALUE: ERROR_PIPE_BUSY while all instances of a running server are
/// taken, ERROR_FILE_NOT_FOUND without a server, ERROR_ACCESS_DENIED.
THandle CreateFileW(const char16_t* AName, std::uint32_t AAccess, std::uint32_t AShareMode,
                    const TSECURITY_ATTRIBUTES* ASecurity, std::uint32_t ADisposition, std::uint32_t AFlags,
                    THandle ATemplate);

/// Only message mode is there: ERROR_NOT_SUPPORTED for another one.
bool SetNamedPipeHandleState(THandle APipe, const std::uint32_t* AMode, const std::uint32_t* AMaxCollection,
                             const std::uint32_t* ACollectTimeout);

/// Begins to read the next chunk, up to ASize bytes, of the present message. True when it was there
/// already; ERROR_IO_PENDING when GetOverlappedResult has to fetch it; without AOverlapped it waits.
/// ACount is told by the call that ends the read. ERROR_MORE_DATA: the chunk is full and the
/// message goes on. ERROR_BROKEN_PIPE: the peer is gone. ERROR_PIPE_NOT_CONNECTED: nobody is there.
/// ERROR_INVALID_DATA: the peer sent a length above 2^31 - 1; the pipe is ended.
bool ReadFile(THandle APipe, void* ABuffer, std::uint32_t ASize, std::uint32_t* ACount,
              TOVERLAPPED* AOverlapped);

/// Sends one message; waits as long as the peer takes to make room. ERROR_NO_DATA: the peer is gone or the
/// pipe is being ended; a thread that reads the pipe is woken with ERROR_BROKEN_PIPE.
bool WriteFile(THandle APipe, const void* ABuffer, std::uint32_t ASize, std::uint32_t* ACount,
               TOVERLAPPED* AOverlapped);

/// Carries out what was begun and tells how it ended. Without AWait: ERROR_IO_INCOMPLETE when nothing has
/// come.
bool GetOverlappedResult(THandle APipe, TOVERLAPPED* AOverlapped, std::uint32_t* ACount, bool AWait);

/// Ends the calling thread's operations on the pipe. As nothing runs between the calls, there are none.
bool CancelIo(THandle APipe);

bool InitializeSecurityDescriptor(TSECURITY_DESCRIPTOR* ADescriptor, std::uint32_t ARevision);
bool SetSecurityDescriptorDacl(TSECURITY_DESCRIPTOR* ADescriptor, bool APresent, const void* ADacl,
                               bool ADefaulted);

/// WriteFile of a message whose bytes lie in two places: a head and a body.
bool ZnWritePipeGather(THandle APipe, std::span<const std::byte> AHead, std::span<const std::byte> ABody,
                       std::uint32_t* ACount);

/// The process at the other end, as the kernel knew it when the connection was made (a client sees
/// who made the instance).
struct TZnPipePeer
{
    std::uint32_t ProcessId = 0;
    std::uint32_t UserId = 0;
    std::uint32_t GroupId = 0;
};

/// ERROR_PIPE_NOT_CONNECTED without a peer, ERROR_NOT_SUPPORTED for a pipe to another host.
bool ZnGetNamedPipePeer(THandle APipe, TZnPipePeer* APeer);

/// What a logon is for. Only the name counts: `\\host`.
struct TNETRESOURCEW
{
    std::uint32_t dwScope = 0;
    std::uint32_t dwType = 0;
    std::uint32_t dwDisplayType = 0;
    std::uint32_t dwUsage = 0;
    const char16_t* lpLocalName = nullptr;
    const char16_t* lpRemoteName = nullptr;
    const char16_t* lpComment = nullptr;
    const char16_t* lpProvider = nullptr;
};

inline constexpr std::uint32_t RESOURCE_GLOBALNET = 2;
inline constexpr std::uint32_t CONNECT_UPDATE_PROFILE = 1;

/// Logs on at another host, for the pipes that this process opens there until the logon is
/// cancelled. An empty or nil user is the present one, an empty or nil password asks the agent and the
/// default keys. 0 or an error number: ERROR_BAD_NETPATH, ERROR_LOGON_FAILURE, ERROR_ACCESS_DENIED (the
/// host's key isn't the known one) ... Logons of one host are counted.
std::uint32_t WNetAddConnection2W(const TNETRESOURCEW* AResource, const char16_t* APassword,
                                  const char16_t* AUser, std::uint32_t AFlags);

/// Takes one logon back. Pipes that are open stay open. ERROR_NOT_FOUND without one.
std::uint32_t WNetCancelConnection2W(const char16_t* AName, std::uint32_t AFlags, bool AForce);
