#pragma once

#include <cstdint>
#include <string>

#include "common/Component.h"
#include "common/Set.h"
#include "platform/Api.h"

/// Who may keep a response: the client alone, or everybody on the way.
enum TZnHTTPCacheControlType : std::uint8_t { ccPrivate, ccPublic };

/// One for each directive that has a setter.
enum TZnHTTPCacheControlField : std::uint8_t {
    ccfType,
    ccfNoCache,
    ccfNoStore,
    ccfMaxAge,
    ccfMaxStale,
    ccfMinFresh,
    ccfNoTransform,
    ccfOnlyIfCached,
    ccfExtensions
};
/// The directives that were assigned.
using TZnHTTPCacheControlFields = TZnSet<TZnHTTPCacheControlField>;

/// The directives of a request's "Cache-Control" field (RFC 9111, 5.2.1). Only what was assigned is
/// sent: every setter adds its flag to AssignedValues.
class ZN_API TZnHTTPCacheControl : public TPersistent
{
public:
    /// The directives that are sent: each setter adds its own.
    TZnHTTPCacheControlFields GetAssignedValues() const { return FAssignedValues; }
    /// Puts every field that is not in the set back to its default.
    void SetAssignedValues(TZnHTTPCacheControlFields AValue);

    /// Default ccPublic.
    TZnHTTPCacheControlType GetCacheControlType() const { return FCacheControlType; }
    void SetCacheControlType(TZnHTTPCacheControlType AValue);
    /// No stored response without asking the server. Default false.
    bool GetNoCache() const { return FNoCache; }
    void SetNoCache(bool AValue);
    /// Nobody keeps request or response. Default false.
    bool GetNoStore() const { return FNoStore; }
    void SetNoStore(bool AValue);
    /// Seconds.
    int GetMaxAge() const { return FMaxAge; }
    void SetMaxAge(int AValue);
    /// Seconds.
    int GetMaxStale() const { return FMaxStale; }
    void SetMaxStale(int AValue);
    /// Seconds.
    int GetMinFresh() const { return FMinFresh; }
    void SetMinFresh(int AValue);
    /// Nobody on the way changes the body. Default false.
    bool GetNoTransform() const { return FNoTransform; }
    void SetNoTransform(bool AValue);
    /// A stored response, or 504. Default false.
    bool GetOnlyIfCached() const { return FOnlyIfCached; }
    void SetOnlyIfCached(bool AValue);
    /// Further directives, sent as they are.
    const std::string& GetExtensions() const { return FExtensions; }
    void SetExtensions(std::string AValue);

    /// "no-cache, max-age=0": the assigned directives; Booleans that are false and empty
    /// extensions are left out.
    std::string AsString() const;

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    TZnHTTPCacheControlFields FAssignedValues;
    TZnHTTPCacheControlType FCacheControlType = ccPublic;
    bool FNoCache = false;
    bool FNoStore = false;
    int FMaxAge = 0;
    int FMaxStale = 0;
    int FMinFresh = 0;
    bool FNoTransform = false;
    bool FOnlyIfCached = false;
    std::string FExtensions;
};
