#pragma once

#include <string>
#include <string_view>

namespace Zn
{

/// What a logon page posts: "userName=...&password=...", in any order among other fields.
struct LogonForm
{
    std::string UserName; // UTF-8; empty when the form lacks it
    std::string Password;
};

/// Longest form that is read, in bytes. Names and passwords are short; what is longer is no logon.
inline constexpr std::size_t cMaxLogonForm = 64 * 1024;

/// Reads a form body. Names of fields are compared without regard to case, of like-named fields the first
/// counts. Percent escapes are resolved; a "+" stays a "+". Raises EConvertError for an escape that is none.
LogonForm ReadLogonForm(std::string_view ABody);

/// The field "Authorization: Basic ..." of the same user and password.
std::string BasicAuthorization(const LogonForm& AForm);

} // namespace Zn
