#include "platform/httpclient/OutgoingBody.h"

#include <algorithm>
#include <cstring>

namespace Zn::HttpClient
{

std::int64_t OutgoingBody::Read(void* ABuffer, std::size_t ASize)
{
    const std::uint64_t Left = Length() - FGiven; // of an unknown length: more than anybody asks for
    const auto Wanted = static_cast<std::size_t>(std::min<std::uint64_t>(ASize, Left));
    if (Wanted == 0)
        return 0;
    std::int64_t Count = static_cast<std::int64_t>(Wanted);
    if (IsInMemory())
        std::memcpy(ABuffer, FMemory.data() + FGiven, Wanted);
    else
        Count = FSource.Read(FSource.Context, ABuffer, Wanted);
    if (Count < 0 || static_cast<std::size_t>(Count) > Wanted)
        return -1;
    if (Count == 0) {
        FAtEnd = FSource.TotalLength == cUnknownLength;
        return FAtEnd ? 0 : -1;
    }
    FGiven += static_cast<std::uint64_t>(Count);
    return Count;
}

bool OutgoingBody::Rewind()
{
    const bool AtStart = FGiven == 0 && !FAtEnd;
    if (!AtStart && !IsInMemory() && (FSource.Rewind == nullptr || !FSource.Rewind(FSource.Context)))
        return false;
    FGiven = 0;
    FAtEnd = false;
    return true;
}

} // namespace Zn::HttpClient
