#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/Exceptions.h"
#include "common/Set.h"

// Ordinals are used as set bits and table indexes: values are added at the end, never moved.

/// The version in a request line.
enum TZnHTTPVersion : std::uint8_t { HTTP1_0, HTTP1_1 };

/// The methods of RFC 9110 and PATCH (RFC 5789).
enum TZnHTTPMethod : std::uint8_t {
    httpTRACE,
    httpCONNECT,
    httpOPTIONS,
    httpHEAD,
    httpGET,
    httpDELETE,
    httpPOST,
    httpPUT,
    httpPATCH
};

/// Content coding. Scoped, since zlib has a function of the name deflate.
enum class TZnHTTPCompression : std::uint8_t { identity, deflate };

/// Who asks, or how credentials are offered.
enum TZnHTTPAuthentication : std::uint8_t {
    authNone,
    authBasic,
    authDigest,
    authNTLM,
    authNEGIOTIATE,
    authPassport,
    authOAuth2,
    authOther
};

/// Character set of textual content.
enum TZnHTTPAcceptContentType : std::uint8_t { ctANSI, ctISO_10646_UCS2, ctUTF8 };

/// When a client follows a redirect.
enum TZnHTTRedirectPolicy : std::uint8_t { rdpNever, rdpDisallowHttpsToHttp, rdpAlways };

/// OAuth 2 grant (RFC 6749).
enum TZnOAuthGrantType : std::uint8_t { oagtImplicit, oagtAuthorize, oagtPassword, oagtClientCredentials };

/// A method out of AFirst through ALast. Takes the place of a TZnHTTPMethod where only some
/// methods are allowed: another one is a caller's error and raises EAssertionFailed.
template <TZnHTTPMethod AFirst, TZnHTTPMethod ALast>
class TZnHTTPMethodRange
{
public:
    /// Made from a method where one is wanted; another one is an assertion.
    constexpr TZnHTTPMethodRange(TZnHTTPMethod AMethod) : FMethod(AMethod)
    {
        if (AMethod < AFirst || AMethod > ALast) {
            ZnAssert(false, "The HTTP method is not allowed here");
        }
    }
    /// The method itself.
    constexpr operator TZnHTTPMethod() const { return FMethod; }

private:
    TZnHTTPMethod FMethod;
};

/// Methods that never carry a request body, DELETE among them, and those that may carry one.
using TZnHTTPNoBodyMethod = TZnHTTPMethodRange<httpTRACE, httpDELETE>;
/// Methods that carry a body: POST, PUT, PATCH.
using TZnHTTPBodyMethod = TZnHTTPMethodRange<httpPOST, httpPATCH>;

/// A set of methods.
using TZnHTTPMethods = TZnSet<TZnHTTPMethod>;

/// A status line's number and reason phrase.
struct TZnHTTPStatus
{
    /// Three digits; 0: no response.
    std::uint16_t StatusCode = 0;
    /// The reason phrase.
    std::string StatusMsg;

    bool operator==(const TZnHTTPStatus&) const = default;
};

/// The words on the wire, indexed by the enumeration.
inline constexpr std::array<std::string_view, 9> ZnHTTPMethod{"TRACE",  "CONNECT", "OPTIONS", "HEAD", "GET",
                                                              "DELETE", "POST",    "PUT",     "PATCH"};
/// The words on the wire, indexed by the enumeration.
inline constexpr std::array<std::string_view, 2> ZnHTTPVersion{"HTTP/1.0", "HTTP/1.1"};
