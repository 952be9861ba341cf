#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace Zn
{

/// What a response tells about the version of a file, and what later requests are held against
/// (RFC 9110, 8.8).
struct TValidators
{
    std::string ETag;             // with its quotes; W/ in front when weak
    std::time_t LastModified = 0; // never later than the time of the answer
    bool Strong = false;          // two different contents can't share them
};

/// Validators of a file of ASize bytes, changed at AModified. They are weak while the file is so young
/// that it could change again within one tick of the file system's clock.
TValidators FileValidators(std::uint64_t ASize, const timespec& AModified, const timespec& ANow);

/// The fields of a request that make it conditional; empty when absent.
struct TConditions
{
    std::string IfMatch;
    std::string IfUnmodifiedSince;
    std::string IfNoneMatch;
    std::string IfModifiedSince;
};

enum class TPrecondition { Proceed, NotModified, Failed };

/// Decides a GET or HEAD in the order of RFC 9110, 13.2.2. A date that can't be read is ignored.
TPrecondition EvaluatePreconditions(const TConditions& AConditions, const TValidators& ACurrent);

/// Whether a Range may be honoured beside AIfRange (RFC 9110, 13.1.5); an absent If-Range allows it.
bool IfRangeMatches(std::string_view AIfRange, const TValidators& ACurrent);

} // namespace Zn
