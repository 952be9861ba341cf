#include "tools/zn/ConditionalRequests.h"

#include "common/DateTime.h"
#include "common/Exceptions.h"
#include "common/Text.h"

namespace Zn
{

namespace
{

/// An entity tag without W/: what the weak comparison looks at (RFC 9110, 8.8.3.2).
std::string_view OpaqueTag(std::string_view ATag)
{
    return ATag.starts_with("W/") ? ATag.substr(2) : ATag;
}

bool SameTag(std::string_view A, std::string_view B, bool AStrongly)
{
    if (AStrongly && (A.starts_with("W/") || B.starts_with("W/")))
        return false;
    return OpaqueTag(A) == OpaqueTag(B);
}

/// "*" or a list of entity tags. Opaque tags may hold commas, so the list is cut at the quotes. A list
/// that is none matches as far as it could be read.
bool ListHoldsTag(std::string_view AList, std::string_view ATag, bool AStrongly)
{
    if (ZnTrimView(AList) == "*")
        return true;
    while (true) {
        const std::size_t Start = AList.find_first_not_of(" \t,");
        if (Start == std::string_view::npos)
            return false;
        AList.remove_prefix(Start);
        const std::size_t Open = AList.starts_with("W/") ? 2 : 0;
        const std::size_t Close =
            Open < AList.size() && AList[Open] == '"' ? AList.find('"', Open + 1) : AList.npos;
        if (Close == std::string_view::npos)
            return false;
        if (SameTag(AList.substr(0, Close + 1), ATag, AStrongly))
            return true;
        AList.remove_prefix(Close + 1);
    }
}

} // namespace

TValidators FileValidators(std::uint64_t ASize, const timespec& AModified, const timespec& ANow)
{
    TValidators Validators;
    // One second is the grain of Last-Modified; file systems' clocks tick faster than that.
    Validators.Strong = AModified.tv_sec + 1 < ANow.tv_sec;
    Validators.LastModified = std::min(AModified.tv_sec, ANow.tv_sec);
    Validators.ETag = ZnFormat("%s\"%llx-%llx%08lx\"", Validators.Strong ? "" : "W/",
                               static_cast<unsigned long long>(ASize),
                               static_cast<unsigned long long>(AModified.tv_sec), AModified.tv_nsec);
    return Validators;
}

TPrecondition EvaluatePreconditions(const TConditions& AConditions, const TValidators& ACurrent)
{
    if (!AConditions.IfMatch.empty()) {
        if (!ListHoldsTag(AConditions.IfMatch, ACurrent.ETag, true))
            return TPrecondition::Failed;
    } else if (const auto Date = ZnParseHttpDateToUnix(AConditions.IfUnmodifiedSince)) {
        if (ACurrent.LastModified > *Date)
            return TPrecondition::Failed;
    }
    if (!AConditions.IfNoneMatch.empty())
        return ListHoldsTag(AConditions.IfNoneMatch, ACurrent.ETag, false) ? TPrecondition::NotModified
                                                                           : TPrecondition::Proceed;
    if (const auto Date = ZnParseHttpDateToUnix(AConditions.IfModifiedSince))
        return ACurrent.LastModified <= *Date ? TPrecondition::NotModified : TPrecondition::Proceed;
    return TPrecondition::Proceed;
}

bool IfRangeMatches(std::string_view AIfRange, const TValidators& ACurrent)
{
    const std::string_view Condition = ZnTrimView(AIfRange);
    if (Condition.empty())
        return true;
    if (Condition.ends_with('"'))
        return SameTag(Condition, ACurrent.ETag, true);
    const auto Date = ZnParseHttpDateToUnix(Condition);
    return Date && ACurrent.Strong && *Date == ACurrent.LastModified;
}

} // namespace Zn
