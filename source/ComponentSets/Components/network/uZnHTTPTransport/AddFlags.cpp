#include "uZnHTTPTransport/AddFlags.h"

#include <array>
#include <cstddef>

#include "platform/winhttp/Values.h"

namespace
{

constexpr std::array<std::uint32_t, 6> cAddFlags{
    WINHTTP_ADDREQ_FLAG_ADD,
    WINHTTP_ADDREQ_FLAG_ADD_IF_NEW,
    WINHTTP_ADDREQ_FLAG_COALESCE,
    WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA,
    WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON,
    WINHTTP_ADDREQ_FLAG_REPLACE,
};

} // namespace

std::uint32_t Zn::PlatformAddFlags(TWINHTTP_ADDREQ_FLAGS AFlags)
{
    std::uint32_t Result = 0;
    for (std::size_t Index = 0; Index < cAddFlags.size(); ++Index) {
        if (AFlags.Contains(static_cast<TWINHTTP_ADDREQ_FLAG>(Index)))
            Result |= cAddFlags[Index];
    }
    return Result;
}
