#pragma once

#include <string>

#include "common/Exceptions.h"
#include "platform/Api.h"
#include "platform/firewall/NetFw.h"

/// An object's operation failed; the error code is its HRESULT.
class ZN_API EOleSysError : public EZnException
{
public:
    using EZnException::EZnException;
    ZN_EXCEPTION_NAME("EOleSysError")
};

/// Raises EOleSysError for a negative result.
ZN_API void OleCheck(HRESULT AResult);
