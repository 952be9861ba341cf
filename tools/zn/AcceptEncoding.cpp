#include "tools/zn/AcceptEncoding.h"

#include "common/Text.h"

namespace Zn
{

namespace
{

/// "q=0", "q=0.0", "q=0.00" and "q=0.000" refuse; anything else accepts.
bool IsZeroWeight(std::string_view AParameter)
{
    const std::string_view Parameter = ZnTrimView(AParameter);
    if (!Parameter.starts_with("q=") && !Parameter.starts_with("Q="))
        return false;
    return Parameter.size() > 2 && Parameter.find_first_not_of("0.", 2) == std::string_view::npos;
}

} // namespace

bool AcceptsCoding(std::string_view AAcceptEncoding, std::string_view ACoding)
{
    while (!AAcceptEncoding.empty()) {
        const std::size_t Comma = std::min(AAcceptEncoding.find(','), AAcceptEncoding.size());
        const std::string_view Entry = AAcceptEncoding.substr(0, Comma);
        AAcceptEncoding.remove_prefix(std::min(Comma + 1, AAcceptEncoding.size()));

        const std::size_t Semicolon = std::min(Entry.find(';'), Entry.size());
        if (SameText(ZnTrimView(Entry.substr(0, Semicolon)), ACoding))
            return Semicolon == Entry.size() || !IsZeroWeight(Entry.substr(Semicolon + 1));
    }
    return false;
}

} // namespace Zn
