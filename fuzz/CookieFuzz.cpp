/// A cookie text never raises, its parts are pieces of it, and a list keeps one cookie of a name.

#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "uZnHTTPBase/Cookies.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Bytes(reinterpret_cast<const char*>(AData), ALength);
    static const TZnURLData URL = ZnDecodeURL("https://h.net/a/b");
    const TZnHTTPCookie Cookie(URL, Bytes);
    for (const std::string& Part :
         {Cookie.GetName(), Cookie.GetValue(), Cookie.GetPath(), Cookie.GetDomain()}) {
        Zn::FuzzCheck(Bytes.find(Part) != Bytes.npos, "parts are pieces of the text");
        Zn::FuzzCheck(Part.find(';') == Part.npos, "a part ends at a semicolon");
    }
    Zn::FuzzCheck(Cookie.GetExpires() == 0 || Cookie.GetExpires() > -693595.0, "an expiry is a date");

    TZnHTTPCookieList List;
    List.Add(URL, Bytes);
    List.Add(URL, Bytes);
    Zn::FuzzCheck(List.Count() == (Cookie.GetValue().empty() ? 0 : 1), "a namesake is replaced");
    int Sent = 0;
    List.GetCookies(URL, [&Sent](const std::string&, const std::string&) { ++Sent; });
    Zn::FuzzCheck(Sent <= List.Count(), "only what is kept is sent");
    return 0;
}
