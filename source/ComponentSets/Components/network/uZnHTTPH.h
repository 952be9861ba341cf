#pragma once

/// The HTTP service's records, constants and function declarations (platform/httpapi/Httpapi.h), and
/// the names of the request headers that have a place of their own in them.

#include <array>
#include <string_view>
#include <vector>

#include "platform/Api.h"
#include "platform/httpapi/Httpapi.h"

/// The header fields of a request or response that have no place of their own, in wire order.
using THTTP_UNKNOWN_HEADERS = std::vector<THTTP_UNKNOWN_HEADER>;

/// Names of the request headers by THTTP_HEADER_ID, without hyphens ("AcceptLanguage"); the last
/// entry, "RequestMaximum", is the count.
ZN_API extern const std::array<std::string_view, HttpHeaderRequestMaximum + 1> HTTP_KNOWN_REQUEST_HEADERS;
