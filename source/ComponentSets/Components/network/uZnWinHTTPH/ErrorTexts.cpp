#include <algorithm>
#include <array>
#include <string_view>

#include "platform/errors/Errors.h"
#include "uZnWinHTTPH/Exceptions.h"

namespace
{

struct ErrorText
{
    std::uint32_t Code;
    std::string_view Text; // empty: the platform's
};

constexpr std::string_view cObsolete = "Obsolete; no longer used.";

// Sorted by code. 12031 has none: the class of its exception says it all.
constexpr std::array<ErrorText, 54> cTexts{{
    {6, {}},
    {8, {}},
    {18, {}},
    {50, {}},
    {122, {}},
    {259, {}},
    {12001, cObsolete},
    {12002, "The request has timed out."},
    {12004, {}},
    {12005, "The URL is not valid."},
    {12006, {}},
    {12007, "The server name cannot be resolved."},
    {12009, {}},
    {12011, {}},
    {12012, {}},
    {12015,
     "The login attempt failed. When this error is encountered, the request handle should be closed with "
     "WinHttpCloseHandle. A new request handle must be created before retrying the function that originally "
     "produced this error."},
    {12017, "The operation was canceled, usually because the handle on which the request was operating was "
            "closed before the operation completed."},
    {12018, {}},
    {12019, {}},
    {12029, "Returned if connection to the server failed."},
    {12030,
     "The connection with the server has been reset or terminated, or an incompatible SSL protocol was "
     "encountered. For example, WinHTTP version 5.1 does not support SSL2 unless the client specifically "
     "enables it."},
    {12032, {}},
    {12037, {}},
    {12038, {}},
    {12044, "The server requires SSL client Authentication."},
    {12045, {}},
    {12057, {}},
    {12100, {}},
    {12101, {}},
    {12102, {}},
    {12103, {}},
    {12150, "The requested header cannot be located."},
    {12152, "The server response cannot be parsed."},
    {12154, cObsolete},
    {12155, cObsolete},
    {12156,
     "The redirection failed because either the scheme changed or all attempts made to redirect failed "
     "(default is five attempts)."},
    {12157, {}},
    {12166, {}},
    {12167, {}},
    {12169, {}},
    {12170, {}},
    {12172, cObsolete},
    {12175,
     "One or more errors were found in the Secure Sockets Layer (SSL) certificate sent by the server. \r\n"
     "To determine what type of error was encountered, check for a WINHTTP_CALLBACK_STATUS_SECURE_FAILURE "
     "notification in a status callback function. For more information, see WINHTTP_STATUS_CALLBACK."},
    {12176, {}},
    {12177, {}},
    {12178, {}},
    {12179, {}},
    {12180, {}},
    {12181, {}},
    {12182, {}},
    {12183, {}},
    {12184, {}},
    {12185, {}},
    {12186, {}},
}};
static_assert(std::ranges::is_sorted(cTexts, {}, &ErrorText::Code));

} // namespace

std::string WinHttpErrorMsg(std::uint32_t AErrorCode)
{
    const auto Found = std::ranges::lower_bound(cTexts, AErrorCode, {}, &ErrorText::Code);
    if (Found == cTexts.end() || Found->Code != AErrorCode)
        return "Error " + std::to_string(static_cast<std::int32_t>(AErrorCode));
    return Found->Text.empty() ? SysErrorText(AErrorCode) : std::string(Found->Text);
}
