#pragma once

#include "platform/httpapi/Httpapi.h"

namespace Zn
{

/// The limits in force. The reference stays valid for the life of the process, with the values of its moment.
const TZnHttpServiceLimits& CurrentLimits();

} // namespace Zn
