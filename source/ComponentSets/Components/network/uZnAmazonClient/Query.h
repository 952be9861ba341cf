#pragma once

/// Parameters of a URL, as a client writes them and as they are signed. Values in, values out.

#include <string>
#include <string_view>
#include <vector>

#include "platform/Api.h"

/// A parameter by its name.
struct TNameValuePair
{
    /// Not encoded.
    std::string Name;
    /// Not encoded.
    std::string Value;

    bool operator==(const TNameValuePair&) const = default;
};

/// Each text is cut at its first "="; without one it is a name with an empty value.
ZN_API std::vector<TNameValuePair> CreateParams(const std::vector<std::string>& AParams);

/// How requests are written and signed.
enum TZnAmazonCanonicalForm {
    /// Parameters as a form has them (a blank is "+"), signed in an order that ignores case; the signed host
    /// has
    /// no port. Good for the public services with usual parameters.
    cfClassic,
    /// Parameters by RFC 3986, signed in the order of their bytes; the signed host is that of the Host field.
    /// What
    /// every service rebuilds, whatever the parameters and ports are.
    cfExact
};

namespace Zn
{

/// RFC 3986: all but letters, digits and - . _ ~ is encoded; "/" too unless AKeepSlash is set.
std::string EncodeStrict(std::string_view AText, bool AKeepSlash = false);

/// "a=1&b=2"; empty for no parameters.
std::string QueryOf(const std::vector<TNameValuePair>& AParams, TZnAmazonCanonicalForm AForm);

/// The parts between the "&" of a query in the order in which they are signed.
std::string SortedQuery(std::string_view AQuery, TZnAmazonCanonicalForm AForm);

} // namespace Zn
