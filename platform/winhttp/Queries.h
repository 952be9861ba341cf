#pragma once

#include "platform/winhttp/Calls.h"

namespace Zn::Winhttp
{

/// One part of a head, as WinHttpQueryHeaders describes it; a number.
std::uint32_t AnswerQuery(HttpClient::Request& AOwner, std::uint32_t AInfoLevel, const char16_t* AName,
                          void* ABuffer, std::uint32_t* ASize, std::uint32_t* AIndex);

} // namespace Zn::Winhttp
