#pragma once

#include "common/DateTime.h"
#include "common/TextParser.h"

namespace Zn
{

/// Reads the date of an Expires attribute: "Wed, 09 Jun 2021 10:18:14 GMT", with hyphens in the
/// date as well. The zone isn't looked at: the time is UTC. Gives local time with the parser at the
/// next ";" or the end; 0 for what is no date, with the parser where reading stopped.
TDateTime ReadCookieDate(TZnTextParser& AParser);

} // namespace Zn
