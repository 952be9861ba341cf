#include "platform/httpapi/ConnectionTable.h"

namespace Zn
{

ConnectionTable::ConnectionTable() = default;

Connection* ConnectionTable::Take()
{
    std::uint32_t Slot = Capacity;
    {
        const MutexLock Guard(FFreeLock);
        if (!FFree.empty()) {
            Slot = FFree.back();
            FFree.pop_back();
        }
    }
    if (Slot == Capacity) {
        Slot = FUsed.load(std::memory_order_relaxed);
        if (Slot == Capacity)
            return nullptr;
        if (Slot % ChunkSize == 0) {
            FStorage.push_back(std::make_unique<Connection[]>(ChunkSize));
            FChunks[Slot / ChunkSize].store(FStorage.back().get(), std::memory_order_release);
        }
        At(Slot).Slot = Slot;
        FUsed.store(Slot + 1, std::memory_order_release); // with acquire in UsedSlots
    }
    Connection& Result = At(Slot);
    Result.ConnectionId.store(MakeId(Slot), std::memory_order_release);
    FCount.fetch_add(1, std::memory_order_relaxed);
    return &Result;
}

void ConnectionTable::Return(Connection& AConnection)
{
    FCount.fetch_sub(1, std::memory_order_relaxed);
    const MutexLock Guard(FFreeLock);
    FFree.push_back(AConnection.Slot);
}

Connection* ConnectionTable::BySlotOf(std::uint64_t AId) const
{
    const std::uint64_t Index = AId & ((std::uint64_t{1} << IndexBits) - 1);
    if (Index == 0 || Index > UsedSlots())
        return nullptr;
    return &At(static_cast<std::uint32_t>(Index - 1));
}

HTTP_REQUEST_ID ConnectionTable::NextRequestId(const Connection& AConnection)
{
    return MakeId(AConnection.Slot);
}

std::uint64_t ConnectionTable::MakeId(std::uint32_t ASlot)
{
    return FNextId.fetch_add(1, std::memory_order_relaxed) << IndexBits | (ASlot + 1);
}

} // namespace Zn
