#pragma once

#include <cstdint>
#include <span>

#include "platform/Api.h"
#include "platform/errors/Errors.h" // WAIT_TIMEOUT
#include "platform/sync/Deadline.h"
#include "platform/sync/Handle.h"

/// The first handle came; the others follow it.
inline constexpr std::uint32_t WAIT_OBJECT_0 = 0;
/// The wait couldn't be made: the number is in GetLastError.
inline constexpr std::uint32_t WAIT_FAILED = 0xFFFFFFFF;

/// Waits until one of AHandles is signalled (AWaitAll: all of them at one moment), at most
/// AMilliseconds (INFINITE: for ever). Handles are table handles of objects that can be waited for
/// and odd handles of descriptors, which count as signalled while readable or hung up and are not
/// read. Handles that are closed meanwhile stay waited for.
///
/// Returns the lowest index that is signalled (0 for AWaitAll), WAIT_TIMEOUT, or WAIT_FAILED with
/// the reason in GetLastError: ERROR_INVALID_PARAMETER without handles, ERROR_INVALID_HANDLE for a
/// handle that isn't open or can't be waited for. Auto-reset events that count for the result are
/// reset by it, and no others. Any thread.
ZN_API std::uint32_t WaitForMultipleObjects(std::span<const THandle> AHandles, bool AWaitAll,
                                            std::uint32_t AMilliseconds);

/// The same for one handle: WAIT_OBJECT_0, WAIT_TIMEOUT or WAIT_FAILED.
ZN_API std::uint32_t WaitForSingleObject(THandle AHandle, std::uint32_t AMilliseconds);
