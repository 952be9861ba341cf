#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "common/Interfaces.h"
#include "platform/Api.h"

/// From the chattiest to silence; a logger writes what is at its level or behind it.
enum class TZnLogLevel { Trace, Debug, Info, Warning, Error, Off };

/// A named place to log to. Any thread.
class ZN_API IZnLogger : public virtual IInterface
{
public:
    static constexpr TGUID IID{"d3a1c2de-52c5-4d0a-8f0d-6c2f5f7c3b27"};

    /// "Site.AuthManager": the names of the parents, with dots between them.
    virtual const std::string& GetName() const = 0;

    /// The logger "<this name>.<AName>".
    virtual std::shared_ptr<IZnLogger> Child(const std::string& AName) = 0;

    /// True when a text of this level goes to the sink: ask before building an expensive text.
    virtual bool IsEnabled(TZnLogLevel ALevel) const = 0;
    /// Writes a line if ALevel is wanted. Any thread; the text holds no secrets.
    virtual void Log(TZnLogLevel ALevel, std::string_view AText) = 0;

    /// AText (may be empty), the exception's class and message; level Error.
    virtual void Exception(const std::exception& AException, std::string_view AText = {}) = 0;
};

/// One line of the log, as a sink gets it. Valid during the call.
struct TZnLogLine
{
    /// How much it matters.
    TZnLogLevel Level;
    /// The logger's name; borrowed for the call.
    std::string_view Logger;
    /// The line without its end; borrowed for the call.
    std::string_view Text;
};

/// Makes loggers and rules what becomes of their lines. Process-wide; any thread.
class ZN_API TZnLogger
{
public:
    /// The logger of that name; the same one at each call.
    static std::shared_ptr<IZnLogger> GetLogger(const std::string& AName);

    /// Lines below it are dropped, in every logger. Default Warning.
    static void SetLevel(TZnLogLevel ALevel);
    /// From which level on lines are written, for the whole process.
    static TZnLogLevel GetLevel();

    /// Where lines go instead of stderr; an empty function brings stderr back. Calls come from the
    /// threads that log, one at a time; a sink must not log.
    static void SetSink(std::function<void(const TZnLogLine&)> ASink);
};

/// The root logger ("zn").
ZN_API std::shared_ptr<IZnLogger> Logger();
