#include "uZnHTTPServer/Failures.h"

#include <string>

#include "common/System.h"
#include "uZnHTTPBase.h"

void CheckResult(std::uint32_t AResult, std::string_view AContext)
{
    if (AResult == 0) [[likely]]
        return;
    std::string Message = "System Error: " + SysErrorMessage(AResult) + "!";
    if (!AContext.empty())
        Message.append("\r\n").append(AContext);
    throw EZnHTTPException(std::move(Message), static_cast<int>(AResult));
}
