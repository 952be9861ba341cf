#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/Component.h"
#include "common/Set.h"
#include "common/StringList.h"
#include "platform/Api.h"
#include "uZnHTTPClient/CacheControl.h"

/// What becomes of the connection behind a response.
enum TZnHTTPConnectionHeader : std::uint8_t { ctKeepAlive, ctClose };

/// The words on the wire, indexed by the enumeration.
inline constexpr std::array<std::string_view, 2> ZnHTTPConnectionHeader{"keep-alive", "close"};

/// One for each field that has a setter.
enum TZnHTTPRequestHeaderField : std::uint8_t {
    rhfMaxForwards,
    rhfAcceptEncoding,
    rhfPragma,
    rhfReferer,
    rhfUserAgent,
    rhfAccept,
    rhfAcceptLanguage,
    rhfAcceptCharset,
    rhfExpect,
    rhfCookie,
    rhfFrom,
    rhfAcceptDatetime,
    rhfOrigin,
    rhfConnection
};
/// The fields that were assigned.
using TZnHTTPRequestHeaderFields = TZnSet<TZnHTTPRequestHeaderField>;

/// The header fields that a client sends with every request. Only what was assigned is sent: every
/// setter adds its flag to AssignedValues, an empty text is kept and renders nothing.
///
/// Use:       Client.GetRequestHeaders().SetAccept("application/json"); one request's own fields go
///            through IZnHTTPRequest's AddHeader.
/// Threads:   one at a time, and not while a request is being made: requests copy when they are made.
/// Ownership: owns CustomHeaders and CacheControl; setters copy.
/// Errors:    none; what can't stand in a header is refused when a request is made.
class ZN_API TZnHTTPRequestHeaders : public TPersistent
{
public:
    /// The fields that are sent: each setter adds its own.
    TZnHTTPRequestHeaderFields GetAssignedValues() const { return FAssignedValues; }
    /// Puts every field that is not in the set back to its default.
    void SetAssignedValues(TZnHTTPRequestHeaderFields AValue);

    /// Further fields, one line each: "Name=value".
    TStrings& GetCustomHeaders() { return FCustomHeaders; }
    const TStrings& GetCustomHeaders() const { return FCustomHeaders; }
    void SetCustomHeaders(const TStrings& AValue) { FCustomHeaders = AValue; }

    /// Sent from 0 on. Default -1.
    int GetMaxForwards() const { return FMaxForwards; }
    void SetMaxForwards(int AValue);

    /// "deflate" is undone by the response; any other coding reaches the application as it came.
    const std::string& GetAcceptEncoding() const { return FAcceptEncoding; }
    void SetAcceptEncoding(std::string AValue);
    /// Sent as it is (RFC 9111, 5.4): for caches of HTTP/1.0.
    const std::string& GetPragma() const { return FPragma; }
    void SetPragma(std::string AValue);

    /// The directives of Cache-Control; none is assigned at first.
    TZnHTTPCacheControl& GetCacheControl() { return FCacheControl; }
    /// The same for reading.
    const TZnHTTPCacheControl& GetCacheControl() const { return FCacheControl; }
    /// Copies.
    void SetCacheControl(const TZnHTTPCacheControl& AValue) { FCacheControl = AValue; }

    /// The page that led here (RFC 9110, 10.1.3), sent as it is.
    const std::string& GetReferer() const { return FReferer; }
    void SetReferer(std::string AValue);
    /// Reaches the wire through the session: a session that the client makes for itself takes it
    /// at that moment. Another session has a user agent of its own.
    const std::string& GetUserAgent() const { return FUserAgent; }
    void SetUserAgent(std::string AValue);
    /// Media types with ";" between them; "*/*" when empty. A type with parameters of its own goes
    /// through IZnHTTPRequest's AddHeader.
    const std::string& GetAccept() const { return FAccept; }
    void SetAccept(std::string AValue);
    /// Languages with their weights (RFC 9110, 12.5.4), sent as they are.
    const std::string& GetAcceptLanguage() const { return FAcceptLanguage; }
    void SetAcceptLanguage(std::string AValue);
    /// Character sets (RFC 9110, 12.5.2), sent as they are.
    const std::string& GetAcceptCharset() const { return FAcceptCharset; }
    void SetAcceptCharset(std::string AValue);
    /// "100-continue", or nothing (RFC 9110, 10.1.1).
    const std::string& GetExpect() const { return FExpect; }
    void SetExpect(std::string AValue);
    /// Under chManual the session's cookies go in its place.
    const std::string& GetCookie() const { return FCookie; }
    void SetCookie(std::string AValue);
    /// The mail address of whoever runs the program (RFC 9110, 10.1.2).
    const std::string& GetFrom() const { return FFrom; }
    void SetFrom(std::string AValue);
    /// The moment whose state of the resource is wanted (RFC 7089, 2.1.1).
    const std::string& GetAcceptDatetime() const { return FAcceptDatetime; }
    void SetAcceptDatetime(std::string AValue);
    /// Who asks, by scheme, host and port (RFC 6454, 7).
    const std::string& GetOrigin() const { return FOrigin; }
    void SetOrigin(std::string AValue);

    /// Default ctKeepAlive. ctClose gives every request a connection of its own.
    TZnHTTPConnectionHeader GetConnection() const { return FConnection; }
    void SetConnection(TZnHTTPConnectionHeader AValue);

    /// CustomHeaders with the assigned fields written over them, in the form "Name=value".
    virtual void GetHTTPHeaders(TStrings& AStringList) const;

protected:
    /// To its like, or as lines to a TZnHTTPHeaderList: the assigned fields, then CustomHeaders, which
    /// replace nothing there.
    void AssignTo(TPersistent* ADest) const override;

private:
    struct TTextField;
    static const std::array<TTextField, 12> cTextFields;

    void SetText(TZnHTTPRequestHeaderField AField, std::string TZnHTTPRequestHeaders::*AMember,
                 std::string AValue);
    template <class TVisitor>
    void VisitIncluded(TVisitor AVisitor) const;

    TZnHTTPRequestHeaderFields FAssignedValues;
    TStrings FCustomHeaders;
    int FMaxForwards = -1;
    std::string FAcceptEncoding;
    std::string FPragma;
    TZnHTTPCacheControl FCacheControl;
    std::string FReferer;
    std::string FUserAgent;
    std::string FAccept;
    std::string FAcceptLanguage;
    std::string FAcceptCharset;
    std::string FExpect;
    std::string FCookie;
    std::string FFrom;
    std::string FAcceptDatetime;
    std::string FOrigin;
    TZnHTTPConnectionHeader FConnection = ctKeepAlive;
};
