#pragma once

#include <cstdint>
#include <string_view>

#include "platform/httpapi/Httpapi.h"

namespace Zn
{

/// THTTP_HEADER_ID of a request header, without regard to case; -1 for any other name. AName is a token.
std::int8_t RequestHeaderId(std::string_view AName);

/// The verb of a method; HttpVerbUnknown for one without a value of its own. Methods have case (RFC
/// 9110, 9.1).
THTTP_VERB VerbOf(std::string_view AMethod);

} // namespace Zn
