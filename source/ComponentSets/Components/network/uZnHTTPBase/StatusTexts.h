#pragma once

#include <cstdint>
#include <string>

/// The reason phrase for a status code; empty for a code that the library doesn't know.
std::string HttpStatusMsg(std::uint32_t AStatus);
