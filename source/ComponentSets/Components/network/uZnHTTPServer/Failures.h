#pragma once

#include <cstdint>
#include <string_view>

#include "common/Exceptions.h"
#include "platform/Api.h"

/// The client's connection is gone: nothing can be answered.
class ZN_API EZnHTTPConnection : public EZnException
{
public:
    using EZnException::EZnException;
    ZN_EXCEPTION_NAME("EZnHTTPConnection")
};

/// Returns for a platform result of 0. Raises EZnHTTPException with any other one as its code and
/// "System Error: " with the system's text, and AContext on a line of its own when it isn't empty.
ZN_API void CheckResult(std::uint32_t AResult, std::string_view AContext = {});
