#pragma once

#include <cstdint>
#include <new>

#include "platform/errors/Errors.h"

namespace Zn
{

/// Runs the work of a function that must not throw. Memory is the one thing that makes the service's own code
/// throw.
template <class TWork>
std::uint32_t Guarded(TWork AWork) noexcept
{
    try {
        return AWork();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

} // namespace Zn
