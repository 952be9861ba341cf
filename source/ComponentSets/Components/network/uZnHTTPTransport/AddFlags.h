#pragma once

#include <cstdint>

#include "common/Set.h"

/// What becomes of a header that is there already. One enumeration for both function sets, whose names it
/// has.
enum TWINHTTP_ADDREQ_FLAG : std::uint8_t {
    mfAdd,
    mfAddIfNew,
    mfCoalesce,
    mfCoalesceWithComma,
    mfCoalesceWithSemiColon,
    mfReplace
};
/// Any of them together.
using TWINHTTP_ADDREQ_FLAGS = TZnSet<TWINHTTP_ADDREQ_FLAG>;
/// The same by its other name.
using THTTP_ADDREQ_FLAG = TWINHTTP_ADDREQ_FLAG;
/// Any of them together.
using THTTP_ADDREQ_FLAGS = TWINHTTP_ADDREQ_FLAGS;

namespace Zn
{

std::uint32_t PlatformAddFlags(TWINHTTP_ADDREQ_FLAGS AFlags);

} // namespace Zn
