#pragma once

#include <array>
#include <atomic>
#include <memory>

#include <vector>

#include "platform/httpapi/Connection.h"

namespace Zn
{

/// All connections of the service, in slots that stay where they are: a slot is found by its index without a
/// lock, which every call of a request's owner does. Slots are used again; ids carry a counter beside the
/// index.
///
/// An id: counter << 17 | index + 1. Never 0.
class ConnectionTable
{
public:
    static constexpr std::uint32_t Capacity = 65536;

    ConnectionTable();

    /// A free slot in Owner::Free with a new ConnectionId, or nullptr when all are taken. The leader's.
    Connection* Take();
    /// Gives a closed connection's slot back; its State has to be Free. Any thread.
    void Return(Connection& AConnection);

    /// The connection in the slot that AId names; the caller compares the id itself. Any thread.
    Connection* BySlotOf(std::uint64_t AId) const;

    HTTP_REQUEST_ID NextRequestId(const Connection& AConnection);

    /// Slots ever used: 0 to UsedSlots() - 1 exist.
    std::uint32_t UsedSlots() const { return FUsed.load(std::memory_order_acquire); }
    Connection& At(std::uint32_t ASlot) const
    {
        return FChunks[ASlot / ChunkSize].load(std::memory_order_acquire)[ASlot % ChunkSize];
    }
    std::uint32_t Count() const { return FCount.load(std::memory_order_relaxed); }

private:
    static constexpr std::uint32_t ChunkSize = 256;
    static constexpr unsigned IndexBits = 17;

    std::uint64_t MakeId(std::uint32_t ASlot);

    std::array<std::atomic<Connection*>, Capacity / ChunkSize> FChunks{};
    std::vector<std::unique_ptr<Connection[]>> FStorage; // the leader's
    std::atomic<std::uint32_t> FUsed{0};
    std::atomic<std::uint32_t> FCount{0};
    std::atomic<std::uint64_t> FNextId{1};
    Mutex FFreeLock;
    std::vector<std::uint32_t> FFree ZN_GUARDED_BY(FFreeLock);
};

} // namespace Zn
