#include "tools/zn/RangeRequest.h"

#include <algorithm>

#include "common/Text.h"

namespace Zn
{

TRangeRequest ResolveRange(std::string_view ARange, std::uint64_t ASize)
{
    const std::size_t Equals = ARange.find('=');
    if (ASize == 0 || Equals == std::string_view::npos || !SameText(ARange.substr(0, Equals), "bytes"))
        return {};
    const std::string_view Spec = ZnTrimView(ARange.substr(Equals + 1));
    const std::size_t Dash = Spec.find('-');
    if (Dash == std::string_view::npos)
        return {};
    const auto First = ZnParseInt<std::uint64_t>(Spec.substr(0, Dash));
    const auto Last = ZnParseInt<std::uint64_t>(Spec.substr(Dash + 1));
    using enum TRangeRequest::TKind;

    if (Dash == 0) { // "-N": the last N bytes
        if (!Last)
            return {};
        return *Last == 0 ? TRangeRequest{Unsatisfiable}
                          : TRangeRequest{Part, ASize - std::min(*Last, ASize), ASize - 1};
    }
    const bool OpenEnd = Dash + 1 == Spec.size();
    if (!First || (!OpenEnd && (!Last || *Last < *First)))
        return {};
    if (*First >= ASize)
        return TRangeRequest{Unsatisfiable};
    return {Part, *First, OpenEnd ? ASize - 1 : std::min(*Last, ASize - 1)};
}

} // namespace Zn
