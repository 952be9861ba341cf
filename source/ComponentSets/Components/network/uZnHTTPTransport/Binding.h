#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/winhttp/Values.h"
#include "uZnHTTPClient.h"

namespace Zn
{

/// What becomes of a field that is there already.
enum class FieldRule { AddReplace, CoalesceWithSemicolon };

/// The calls of one function set that both transports make alike: stateless, one object for each set, which
/// lasts. Numbers of levels and of this library's options are the same in both sets
/// (platform/winhttp/Values.h).
///
/// Threads: any.
/// Errors:  the set's own exceptions, where nothing else is said.
class FunctionBinding
{
public:
    virtual ~FunctionBinding() = default;

    virtual HINTERNET Open(const std::string& AUserAgent, TZnHTTPAccessType AAccessType,
                           const std::string& AProxyServer, const std::string& AProxyBypass) const = 0;
    virtual void Close(HINTERNET AHandle, bool ARaiseError) const = 0;
    /// Takes a request's handle over.
    virtual std::shared_ptr<IZnHTTPRequestHandle> Own(HINTERNET ARequest) const = 0;
    virtual std::shared_ptr<TZnHTTPConnection> OwnConnection(const void* AClientId, HINTERNET AConnection,
                                                             const TZnHTTPTimeOuts& ATimeOuts,
                                                             std::string AHostName) const = 0;

    virtual void SetOption(HINTERNET AHandle, std::uint32_t AOption,
                           std::span<const std::byte> AValue) const = 0;
    virtual void AddField(HINTERNET ARequest, std::string_view ALine, FieldRule ARule) const = 0;
    /// Takes a field away; it doesn't matter whether it is there.
    virtual void RemoveField(HINTERNET ARequest, std::string_view AName) const = 0;

    /// A text by its level, or with WINHTTP_QUERY_CUSTOM by its name; empty when there is none.
    virtual std::string QueryText(HINTERNET ARequest, std::uint32_t ALevel, std::string_view AName) const = 0;
    /// A number by its level; false for any failure.
    virtual bool QueryNumber(HINTERNET ARequest, std::uint32_t ALevel, void* ABuffer,
                             std::uint32_t ASize) const = 0;
    /// What is asked for the URL that an error's text may show.
    using TURLText = std::function<std::string()>;
    /// Bytes of the body that can be read at once; 0 at its end.
    virtual std::uint32_t QueryAvailable(HINTERNET ARequest, const TURLText& AURL) const = 0;
    virtual std::uint32_t Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize,
                               const TURLText& AURL) const = 0;

    virtual std::string ErrorText(std::uint32_t ACode) const = 0;
    [[noreturn]] virtual void Raise(const std::string& AFuncName, std::uint32_t ACode) const = 0;
    /// A rule of the transport was broken.
    [[noreturn]] virtual void RaiseRule(const std::string& AText) const = 0;
};

} // namespace Zn
