#include "uZnHTTPClient/CacheControl.h"

#include <string_view>
#include <utility>

void TZnHTTPCacheControl::SetCacheControlType(TZnHTTPCacheControlType AValue)
{
    FCacheControlType = AValue;
    FAssignedValues.Include(ccfType);
}

void TZnHTTPCacheControl::SetNoCache(bool AValue)
{
    FNoCache = AValue;
    FAssignedValues.Include(ccfNoCache);
}

void TZnHTTPCacheControl::SetNoStore(bool AValue)
{
    FNoStore = AValue;
    FAssignedValues.Include(ccfNoStore);
}

void TZnHTTPCacheControl::SetMaxAge(int AValue)
{
    FMaxAge = AValue;
    FAssignedValues.Include(ccfMaxAge);
}

void TZnHTTPCacheControl::SetMaxStale(int AValue)
{
    FMaxStale = AValue;
    FAssignedValues.Include(ccfMaxStale);
}

void TZnHTTPCacheControl::SetMinFresh(int AValue)
{
    FMinFresh = AValue;
    FAssignedValues.Include(ccfMinFresh);
}

void TZnHTTPCacheControl::SetNoTransform(bool AValue)
{
    FNoTransform = AValue;
    FAssignedValues.Include(ccfNoTransform);
}

void TZnHTTPCacheControl::SetOnlyIfCached(bool AValue)
{
    FOnlyIfCached = AValue;
    FAssignedValues.Include(ccfOnlyIfCached);
}

void TZnHTTPCacheControl::SetExtensions(std::string AValue)
{
    FExtensions = std::move(AValue);
    FAssignedValues.Include(ccfExtensions);
}

void TZnHTTPCacheControl::SetAssignedValues(TZnHTTPCacheControlFields AValue)
{
    const TZnHTTPCacheControl Default;
    const auto KeepIf = [&](TZnHTTPCacheControlField AField, auto TZnHTTPCacheControl::*AMember) {
        if (!AValue.Contains(AField))
            this->*AMember = Default.*AMember;
    };
    KeepIf(ccfType, &TZnHTTPCacheControl::FCacheControlType);
    KeepIf(ccfNoCache, &TZnHTTPCacheControl::FNoCache);
    KeepIf(ccfNoStore, &TZnHTTPCacheControl::FNoStore);
    KeepIf(ccfMaxAge, &TZnHTTPCacheControl::FMaxAge);
    KeepIf(ccfMaxStale, &TZnHTTPCacheControl::FMaxStale);
    KeepIf(ccfMinFresh, &TZnHTTPCacheControl::FMinFresh);
    KeepIf(ccfNoTransform, &TZnHTTPCacheControl::FNoTransform);
    KeepIf(ccfOnlyIfCached, &TZnHTTPCacheControl::FOnlyIfCached);
    KeepIf(ccfExtensions, &TZnHTTPCacheControl::FExtensions);
    FAssignedValues = AValue;
}

std::string TZnHTTPCacheControl::AsString() const
{
    std::string Result;
    const auto Append = [&](TZnHTTPCacheControlField AField, bool AWanted, std::string_view ADirective) {
        if (AWanted && FAssignedValues.Contains(AField))
            Result.append(", ").append(ADirective);
    };
    const auto AppendSeconds = [&](TZnHTTPCacheControlField AField, std::string_view AName, int ASeconds) {
        if (FAssignedValues.Contains(AField))
            Result.append(", ").append(AName).append("=").append(std::to_string(ASeconds));
    };
    Append(ccfType, true, FCacheControlType == ccPublic ? "public" : "private");
    Append(ccfNoCache, FNoCache, "no-cache");
    Append(ccfNoStore, FNoStore, "no-store");
    AppendSeconds(ccfMaxAge, "max-age", FMaxAge);
    AppendSeconds(ccfMaxStale, "max-stale", FMaxStale);
    AppendSeconds(ccfMinFresh, "min-fresh", FMinFresh);
    Append(ccfNoTransform, FNoTransform, "no-transform");
    Append(ccfOnlyIfCached, FOnlyIfCached, "only-if-cached");
    Append(ccfExtensions, !FExtensions.empty(), FExtensions);
    return Result.empty() ? Result : Result.substr(2);
}

void TZnHTTPCacheControl::AssignTo(TPersistent* ADest) const
{
    if (auto* CacheControl = dynamic_cast<TZnHTTPCacheControl*>(ADest)) {
        *CacheControl = *this;
        return;
    }
    TPersistent::AssignTo(ADest);
}
