#include "uZnHTTPTransport/ShownURL.h"

#include <algorithm>

std::string Zn::ShownURL(std::string_view AURL)
{
    const std::size_t Slashes = AURL.find("//");
    const std::size_t Begin = Slashes == std::string_view::npos ? 0 : Slashes + 2;
    const std::size_t End = std::min(AURL.find_first_of("/?#", Begin), AURL.size());
    const std::size_t At = AURL.substr(0, End).rfind('@');
    if (At == std::string_view::npos || At < Begin)
        return std::string(AURL);
    return std::string(AURL.substr(0, Begin)).append(AURL.substr(At + 1));
}
