#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>

#include "common/Streams.h"
#include "uZnHTTPTransport/Binding.h"

namespace Zn
{

/// A request's body, from its stream's position to its end, held ready for every send of one exchange:
///
///     bytes in memory     lent to the library where they are
///     up to cMaxBuffered  read once into a buffer
///     longer              read by the library while it sends, from the beginning for each send
class RequestBody
{
public:
    /// Longer bodies are not held in memory.
    static constexpr std::int64_t cMaxBuffered = 1024 * 1024;
    /// What one send takes at once; a 32-bit length in one of the function sets.
    static constexpr std::int64_t cMaxLent = 0xFFFFFFFF;

    /// AStream, or nullptr for no body, stays the caller's and unchanged while this lives.
    explicit RequestBody(TStream* AStream) : FStream(AStream) {}
    RequestBody(const RequestBody&) = delete;
    RequestBody& operator=(const RequestBody&) = delete;

    /// Makes the body ready to be sent on AHandle, until that is closed. Moves the stream's position to
    /// its end where it reads the stream at once.
    void Load(const FunctionBinding& ABinding, HINTERNET AHandle);

    /// What a send takes; nothing while the library reads by itself.
    const void* Data() const { return FData; }
    std::uint64_t Size() const { return FSize; }

    /// Raises what the stream raised while the library read it.
    void RaiseReadError();

private:
    void Buffer(std::int64_t ASize);
    void HandOver(const FunctionBinding& ABinding, HINTERNET AHandle, std::int64_t AStart,
                  std::int64_t ASize);
    static std::int64_t ReadSource(void* AContext, void* ABuffer, std::size_t ASize);
    static bool RewindSource(void* AContext);

    TStream* FStream;
    const void* FData = nullptr;
    std::uint64_t FSize = 0;
    std::unique_ptr<std::byte[]> FBodyBuf;
    std::int64_t FStart = 0;
    std::exception_ptr FReadError;
};

} // namespace Zn
