#pragma once

#include <string>

#include "platform/Api.h"

/// 50 random characters out of 63 (letters, most digits, "_" and "+"), nearly 299 bits from the operating
/// system's generator: nonces, opaque values and token ids. Any thread. Raises EZnException with the
/// system's number when the system has no random bytes to give.
ZN_API std::string GenerateRandomToken();
