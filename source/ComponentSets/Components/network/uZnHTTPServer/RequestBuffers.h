#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/Api.h"
#include "uZnHTTPH.h"

namespace Zn
{

class RequestBufferPool;

struct ReturnRequestBuffer
{
    RequestBufferPool* Pool = nullptr;
    ZN_API void operator()(THTTP_REQUEST* ABuffer) const noexcept;
};

/// Room for one request; goes back to its pool.
using RequestBuffer = std::unique_ptr<THTTP_REQUEST, ReturnRequestBuffer>;

/// Keeps a few receive buffers for the next requests: they are taken on the listen thread and given
/// back on workers, which makes them dear for an allocator with a cache per thread.
///
/// Threads: Take and the return of a buffer on any thread, without a lock.
class RequestBufferPool
{
public:
    RequestBufferPool() = default;
    ~RequestBufferPool();
    RequestBufferPool(const RequestBufferPool&) = delete;
    RequestBufferPool& operator=(const RequestBufferPool&) = delete;

    /// Bytes of each buffer. Set while none is out.
    void SetBufferLength(std::uint32_t ALength);
    std::uint32_t GetBufferLength() const { return FBufferLength; }

    RequestBuffer Take();

private:
    friend struct ReturnRequestBuffer;
    void Return(THTTP_REQUEST* ABuffer) noexcept;
    void FreeKept() noexcept;

    std::array<std::atomic<THTTP_REQUEST*>, 8> FKept{};
    std::uint32_t FBufferLength = sizeof(THTTP_REQUEST);
};

} // namespace Zn
