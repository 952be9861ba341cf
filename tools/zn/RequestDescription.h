#pragma once

#include <string>

#include "tools/zn/Exchange.h"

namespace Zn
{

/// All that a handler can know of its request, as JSON:
///
///   {"method":"GET","version":"HTTP/1.1","url":{"URL":"http://...","Scheme":"http",...},
///    "headers":[["Host","localhost:8080"],...],"cookies":{"a":"1"},"languages":["de-DE","en-US"],
///    "remoteAddress":"127.0.0.1","secure":false}
std::string DescribeRequest(TExchange& AExchange);

} // namespace Zn
