#include "common/Logger.h"

#include <mutex>
#include <unordered_map>

#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include "common/Exceptions.h"
#include "common/Locks.h"

namespace
{

spdlog::level::level_enum ToSpdlog(TZnLogLevel ALevel)
{
    switch (ALevel) {
    case TZnLogLevel::Trace:
        return spdlog::level::trace;
    case TZnLogLevel::Debug:
        return spdlog::level::debug;
    case TZnLogLevel::Info:
        return spdlog::level::info;
    case TZnLogLevel::Warning:
        return spdlog::level::warn;
    case TZnLogLevel::Error:
        return spdlog::level::err;
    case TZnLogLevel::Off:
        break;
    }
    return spdlog::level::off;
}

TZnLogLevel FromSpdlog(spdlog::level::level_enum ALevel)
{
    switch (ALevel) {
    case spdlog::level::trace:
        return TZnLogLevel::Trace;
    case spdlog::level::debug:
        return TZnLogLevel::Debug;
    case spdlog::level::info:
        return TZnLogLevel::Info;
    case spdlog::level::warn:
        return TZnLogLevel::Warning;
    case spdlog::level::off:
        return TZnLogLevel::Off;
    default:
        return TZnLogLevel::Error;
    }
}

std::string_view View(spdlog::string_view_t AText)
{
    return {AText.data(), AText.size()};
}

/// The one sink of all loggers: the application's function, else stderr. base_sink's lock lets one
/// line through at a time.
class SwitchSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    void SetFunction(std::function<void(const TZnLogLine&)> AFunction)
    {
        std::lock_guard Lock(mutex_);
        FFunction = std::move(AFunction);
    }

protected:
    void sink_it_(const spdlog::details::log_msg& AMessage) override
    {
        if (FFunction)
            FFunction({FromSpdlog(AMessage.level), View(AMessage.logger_name), View(AMessage.payload)});
        else
            FStderr.log(AMessage);
    }
    void flush_() override { FStderr.flush(); }

private:
    std::function<void(const TZnLogLine&)> FFunction;
    spdlog::sinks::stderr_color_sink_st FStderr;
};

class LoggerRegistry;

class NamedLogger : public virtual IZnLogger
{
public:
    NamedLogger(std::string AName, std::shared_ptr<SwitchSink> ASink, const std::atomic<TZnLogLevel>& ALevel)
        : FName(std::move(AName)), FLevel(ALevel), FLogger(FName, std::move(ASink))
    {
        FLogger.set_level(spdlog::level::trace); // FLevel rules, for all loggers at once
    }

    const std::string& GetName() const override { return FName; }

    std::shared_ptr<IZnLogger> Child(const std::string& AName) override
    {
        return TZnLogger::GetLogger(FName + "." + AName);
    }

    bool IsEnabled(TZnLogLevel ALevel) const override
    {
        return ALevel != TZnLogLevel::Off && ALevel >= FLevel.load(std::memory_order_relaxed);
    }

    void Log(TZnLogLevel ALevel, std::string_view AText) override
    {
        if (IsEnabled(ALevel))
            FLogger.log(ToSpdlog(ALevel), spdlog::string_view_t(AText.data(), AText.size()));
    }

    void Exception(const std::exception& AException, std::string_view AText) override
    {
        if (!IsEnabled(TZnLogLevel::Error))
            return;
        std::string Line(AText);
        if (!Line.empty())
            Line += ": ";
        Line += ExceptionClassName(AException) + ": " + AException.what();
        Log(TZnLogLevel::Error, Line);
    }

private:
    std::string FName;
    const std::atomic<TZnLogLevel>& FLevel; // the registry's
    spdlog::logger FLogger;
};

/// Lives as long as the process: threads may log while static objects are destroyed.
class LoggerRegistry
{
public:
    static LoggerRegistry& Instance()
    {
        static auto* Registry = new LoggerRegistry;
        return *Registry;
    }

    std::shared_ptr<IZnLogger> Get(const std::string& AName)
    {
        TZnLockGuard Guard(FLock);
        auto& Logger = FLoggers[AName];
        if (!Logger)
            Logger = std::make_shared<NamedLogger>(AName, Sink, Level);
        return Logger;
    }

    const std::shared_ptr<SwitchSink> Sink = std::make_shared<SwitchSink>();
    std::atomic<TZnLogLevel> Level{TZnLogLevel::Warning}; // guards no other data

private:
    TZnCriticalSection FLock;
    std::unordered_map<std::string, std::shared_ptr<IZnLogger>> FLoggers ZN_GUARDED_BY(FLock);
};

} // namespace

std::shared_ptr<IZnLogger> TZnLogger::GetLogger(const std::string& AName)
{
    return LoggerRegistry::Instance().Get(AName);
}

void TZnLogger::SetLevel(TZnLogLevel ALevel)
{
    LoggerRegistry::Instance().Level = ALevel;
}

TZnLogLevel TZnLogger::GetLevel()
{
    return LoggerRegistry::Instance().Level;
}

void TZnLogger::SetSink(std::function<void(const TZnLogLine&)> ASink)
{
    LoggerRegistry::Instance().Sink->SetFunction(std::move(ASink));
}

std::shared_ptr<IZnLogger> Logger()
{
    return TZnLogger::GetLogger("zn");
}
