#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Component.h"
#include "common/DateTime.h"
#include "common/Locks.h"
#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "uZnHTTPBase/Url.h"

/// One cookie, read from a text in the form of a Set-Cookie field (RFC 6265): "a=1; Path=/x".
/// A Cookie field's piece is the same without attributes.
///
/// What can't be read stays empty; nothing raises. Max-Age, SameSite and attributes that are not
/// named here are passed over.
class ZN_API TZnHTTPCookie : public TObject
{
public:
    /// AURLData is where the cookie came from.
    TZnHTTPCookie(TZnURLData AURLData, std::string_view ACookieData);

    /// The URL that it came from.
    const TZnURLData& GetURLData() const { return FURLData; }
    /// Its name, with regard to case.
    const std::string& GetName() const { return FName; }
    /// Its value, without the attributes.
    const std::string& GetValue() const { return FValue; }
    const std::string& GetDomain() const { return FDomain; } ///< Empty: no such attribute.
    const std::string& GetPath() const { return FPath; }     ///< Empty: no such attribute.
    TDateTime GetExpires() const { return FExpires; }        ///< Local time; 0: doesn't expire.
    /// It goes to https alone.
    bool GetSecure() const { return FSecure; }
    /// Scripts don't see it.
    bool GetHttpOnly() const { return FHttpOnly; }

private:
    void Parse(std::string_view ACookieData);

    TZnURLData FURLData;
    std::string FName;
    std::string FValue;
    std::string FDomain;
    std::string FPath;
    TDateTime FExpires = 0;
    bool FSecure = false;
    bool FHttpOnly = false;
};

/// Receives a cookie to send.
using TZnHTTPAddCookie = std::function<void(const std::string& AName, const std::string& AValue)>;

/// The cookies of a client session.
///
/// Use:       Add every Set-Cookie field of every response; GetCookies before a request.
/// Threads:   any; the list locks itself, also while GetCookies calls its procedure.
/// Ownership: owns its cookies.
/// Errors:    none of its own; what the procedure raises passes through.
class ZN_API TZnHTTPCookieList : public TObject
{
public:
    /// Forgets all cookies. Any thread.
    void Clear();

    /// Adds a cookie in the place of its namesake, whatever host that came from (the case of the
    /// name doesn't matter). An empty value only removes the namesake.
    void Add(const TZnURLData& AURLData, std::string_view ACookieData);

    /// Calls AAddCookieProc for each cookie that belongs to AURLData, the newest first, and drops
    /// those that belong to it and have expired. The procedure must not call this list.
    void GetCookies(const TZnURLData& AURLData, const TZnHTTPAddCookie& AAddCookieProc);

    /// The number of cookies. Any thread.
    int Count() const;

private:
    mutable TZnCriticalSection FCriticalSesion;
    std::vector<std::unique_ptr<TZnHTTPCookie>> FCookies ZN_GUARDED_BY(FCriticalSesion);
};
