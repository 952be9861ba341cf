#include "uZnHTTPServer/RequestBuffers.h"

#include <algorithm>
#include <new>

namespace Zn
{

void ReturnRequestBuffer::operator()(THTTP_REQUEST* ABuffer) const noexcept
{
    Pool->Return(ABuffer);
}

RequestBufferPool::~RequestBufferPool()
{
    FreeKept();
}

void RequestBufferPool::SetBufferLength(std::uint32_t ALength)
{
    FreeKept();
    FBufferLength = std::max<std::uint32_t>(ALength, sizeof(THTTP_REQUEST));
}

RequestBuffer RequestBufferPool::Take()
{
    for (auto& Slot : FKept) {
        if (Slot.load(std::memory_order_relaxed) == nullptr)
            continue;
        // acquire: the releasing exchange of Return, so that what its last user did with the bytes is over.
        if (THTTP_REQUEST* const Kept = Slot.exchange(nullptr, std::memory_order_acquire))
            return RequestBuffer(Kept, {this});
    }
    return RequestBuffer(static_cast<THTTP_REQUEST*>(::operator new(FBufferLength)), {this});
}

void RequestBufferPool::Return(THTTP_REQUEST* ABuffer) noexcept
{
    for (auto& Slot : FKept) {
        THTTP_REQUEST* Empty = nullptr;
        if (Slot.load(std::memory_order_relaxed) == nullptr &&
            Slot.compare_exchange_strong(Empty, ABuffer, std::memory_order_release,
                                         std::memory_order_relaxed))
            return;
    }
    ::operator delete(ABuffer);
}

void RequestBufferPool::FreeKept() noexcept
{
    for (auto& Slot : FKept)
        ::operator delete(Slot.exchange(nullptr));
}

} // namespace Zn
