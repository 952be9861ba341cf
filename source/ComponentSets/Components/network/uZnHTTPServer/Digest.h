#pragma once

#include <string>
#include <string_view>

#include "uZnHTTPH.h"

namespace Zn
{

/// The pairs of a Digest field that are looked at, without their quotes; empty where there was none. All but
/// the name are pieces of the field.
struct DigestCredentials
{
    std::string UserName; // with each pair of backslashes as one
    std::string_view Nonce;
    std::string_view Uri;
    std::string_view CNonce;
    std::string_view NC;
    std::string_view Response;
    std::string_view QOP;
    std::string_view Opaque;
};

/// Reads what follows "Digest " in an Authorization field. A comma ends a pair, inside of quotes too; names
/// count with regard to case, of like-named pairs the last one. Pure, any thread.
DigestCredentials ParseDigestCredentials(std::string_view ACredentials);

/// The response (RFC 2617, 3.2.2.1, with the quality of protection "auth") that AStoredHash, which is HA1,
/// asks of a client: 32 lower-case hexadecimal digits. For verbs without a place in the scheme HA2 is empty,
/// so that no client's response fits: GET, POST, PUT, PROPPATCH and DELETE have one. Pure, any thread.
std::string DigestResponse(const DigestCredentials& ACredentials, THTTP_VERB AVerb,
                           std::string_view AStoredHash);

} // namespace Zn
