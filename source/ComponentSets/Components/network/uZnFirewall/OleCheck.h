#pragma once

#include <string>

#include "common/Exceptions.h"
#include "platform/firewall/NetFw.h"

/// An object's operation failed; the error code is its HRESULT.
class EOleSysError : public EZnException
{
public:
    using EZnException::EZnException;
    ZN_EXCEPTION_NAME("EOleSysError")
};

/// Raises EOleSysError for a negative result.
void OleCheck(HRESULT AResult);
