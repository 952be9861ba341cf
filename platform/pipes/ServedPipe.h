#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include <sys/types.h>

#include "platform/pipes/FileDescriptor.h"
#include "platform/pipes/PipeTurns.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// A pipe name that this process serves, while any instance of it exists.
///
/// Each waiting instance has a listening socket of its own with room for one client. The oldest one
/// stands at the pipe's path:
///
///   instance 1 waits             client connects             instance 2 waits
///   path -> socket 1   ------>   path -> socket 1  ------>   path -> socket 2 (renamed over 1)
///           listens, free                shut down: busy             listens, free
///
/// A taken socket is shut down before its client is accepted, so nobody slips in behind, and stays at the
/// path: a client that finds it learns from the kernel that the server lives and is busy. When the process
/// dies the file stays, and the kernel tells a client that nobody holds it.
///
/// Threads: any.
class ServedPipe
{
public:
    /// What waits for one client.
    struct Door
    {
        FileDescriptor Socket;
        std::string File; // where it was bound; empty once it was renamed to the path
    };

    struct Instance
    {
        std::shared_ptr<ServedPipe> Pipe;
        std::shared_ptr<Door> Entrance;
    };

    /// One more instance of the name. ERROR_ALREADY_EXISTS while another process serves it.
    static std::uint32_t AddInstance(const std::string& AFile, unsigned AMode, Instance& AInstance);

    ServedPipe(std::string AFolder, std::string AFile, unsigned AMode)
        : FFolder(std::move(AFolder)), FFile(std::move(AFile)), FMode(AMode)
    {
    }
    ~ServedPipe();
    ServedPipe(const ServedPipe&) = delete;
    ServedPipe& operator=(const ServedPipe&) = delete;

    /// A new door, at the path if no other one waits.
    std::uint32_t Open(std::shared_ptr<Door>& ADoor);

    /// Takes the client that has come to ADoor, which is closed by that; empty with errno if none came.
    FileDescriptor Accept(Door& ADoor);

    /// Nobody waits behind ADoor any more.
    void Close(Door& ADoor);

    /// For the connections of all instances.
    const std::shared_ptr<PipeTurns>& Turns() const { return FTurns; }

private:
    std::string Path() const { return FFolder + "/" + FFile; }
    std::uint32_t PutAtPath(const std::shared_ptr<Door>& ADoor) ZN_REQUIRES(FMutex);
    void Forget(Door& ADoor) ZN_REQUIRES(FMutex);

    const std::string FFolder;
    const std::string FFile;
    const unsigned FMode;
    const std::shared_ptr<PipeTurns> FTurns = std::make_shared<PipeTurns>();

    Mutex FMutex;
    std::deque<std::shared_ptr<Door>> FWaiting ZN_GUARDED_BY(FMutex); // the first one is at the path
    std::shared_ptr<Door> FAtPath ZN_GUARDED_BY(FMutex);              // waiting, or a taken one: busy
    ino_t FInode ZN_GUARDED_BY(FMutex) = 0;                           // of the file at the path
};

} // namespace Zn
