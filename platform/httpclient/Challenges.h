#pragma once

#include <cstdint>
#include <string_view>

#include "platform/httpclient/ResponseHead.h"

namespace Zn::HttpClient
{

/// Authentication schemes as bits.
enum Scheme : std::uint32_t { Basic = 1, Ntlm = 2, Passport = 4, Digest = 8, Negotiate = 16 };

/// What a server or proxy offers to prove who asks.
struct Challenge
{
    std::uint32_t Offered = 0; // sum of schemes
    std::uint32_t Best = 0;    // one of them; 0 where none is known
};

/// The schemes that this process can answer now: what libcurl was built with, Negotiate only with a ticket.
std::uint32_t AnswerableSchemes();

/// Reads all fields of that name (WWW-Authenticate or Proxy-Authenticate; RFC 9110, 11.6). Best is the first
/// of Negotiate, NTLM, Passport, Digest, Basic that is in AAnswerable, or the first offered where none is.
Challenge ReadChallenges(const ResponseHead& AHead, std::string_view AName, std::uint32_t AAnswerable);

} // namespace Zn::HttpClient
