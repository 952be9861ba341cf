#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "common/Exceptions.h"
#include "platform/Api.h"

/// A failed socket call. The message ends in the text of the number.
class ZN_API EZnSocketError : public Exception
{
public:
    /// AMsg, a line break and the number's text; the text alone where AMsg is empty.
    explicit EZnSocketError(std::int32_t ASocketErrorCode, const std::string& AMsg = {});
    ZN_EXCEPTION_NAME("EZnSocketError")

    /// The number, 10004 and up.
    std::int32_t GetSocketErrorCode() const { return FSocketErrorCode; }

    /// "Connection refused (10061)."
    static std::string SocketErrorText(std::int32_t ASocketErrorCode);

private:
    std::int32_t FSocketErrorCode;
};

/// Nothing came within the time to wait.
class ZN_API EZnSocketWaitForData : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnSocketWaitForData")
};

/// The other side closed before all was there.
class ZN_API EZnSocketNotAllDataRetrieved : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnSocketNotAllDataRetrieved")
};

/// For applications; the library raises it nowhere.
class ZN_API EZnSocketNoConnection : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnSocketNoConnection")
};

/// Checks the result of a socket call right behind it, on the same thread. -1 raises EZnSocketError
/// with the thread's last socket error, unless that number stands in APassOver.
ZN_API void ZnCheckSocketResult(std::int32_t AResult, std::span<const std::int32_t> APassOver = {});
