#pragma once

#include <cstdint>
#include <string>

#include "platform/Api.h"

/// The reason phrase for a status code; empty for a code that the library doesn't know.
ZN_API std::string HttpStatusMsg(std::uint32_t AStatus);
