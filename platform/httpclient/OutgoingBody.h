#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Zn::HttpClient
{

inline constexpr std::uint64_t cUnknownLength = ~std::uint64_t{0};

/// A body that is asked for piece by piece; see TZnHttpBodySource in Winhttp.h, whose fields these are.
struct BodySource
{
    void* Context = nullptr;
    std::uint64_t TotalLength = 0;
    std::int64_t (*Read)(void* AContext, void* ABuffer, std::size_t ASize) = nullptr;
    bool (*Rewind)(void* AContext) = nullptr;
};

/// The body of a request, wherever it comes from. Borrows memory and source.
class OutgoingBody
{
public:
    OutgoingBody() = default;
    explicit OutgoingBody(std::span<const std::byte> AMemory) : FMemory(AMemory) {}
    explicit OutgoingBody(const BodySource& ASource) : FSource(ASource) {}

    bool IsEmpty() const { return FSource.Read == nullptr && FMemory.empty(); }
    bool IsInMemory() const { return FSource.Read == nullptr; }
    std::span<const std::byte> Memory() const { return FMemory; }
    /// cUnknownLength where it shows only at the end.
    std::uint64_t Length() const { return IsInMemory() ? FMemory.size() : FSource.TotalLength; }

    /// The count; 0 at the end; -1 where the source failed, or ended before its length.
    std::int64_t Read(void* ABuffer, std::size_t ASize);
    bool WasGivenWhole() const { return FAtEnd || FGiven == Length(); }
    /// To the first byte. False where the source can't.
    bool Rewind();

private:
    std::span<const std::byte> FMemory;
    BodySource FSource;
    std::uint64_t FGiven = 0;
    bool FAtEnd = false;
};

} // namespace Zn::HttpClient
