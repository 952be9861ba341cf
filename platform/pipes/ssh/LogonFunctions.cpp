#include <new>
#include <string_view>

#include "platform/errors/Errors.h"
#include "platform/pipes/Pipes.h"
#include "platform/pipes/ssh/Logons.h"
#include "platform/text/Unicode.h"

namespace
{

/// The host of `\\host`; empty for anything else.
std::string HostOf(const char16_t* AName)
{
    const std::string Name = AName ? Zn::Utf8FromUtf16(AName) : "";
    return Name.starts_with("\\\\") && Name.find('\\', 2) == Name.npos ? Name.substr(2) : "";
}

std::string TextOf(const char16_t* AText)
{
    return AText ? Zn::Utf8FromUtf16(AText) : "";
}

} // namespace

std::uint32_t WNetAddConnection2W(const TNETRESOURCEW* AResource, const char16_t* APassword,
                                  const char16_t* AUser, std::uint32_t /*AFlags*/)
try {
    const std::string Host = HostOf(AResource->lpRemoteName);
    return Host.empty() ? ERROR_BAD_NETPATH : Zn::AddLogon(Host, {TextOf(AUser), TextOf(APassword)});
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}

std::uint32_t WNetCancelConnection2W(const char16_t* AName, std::uint32_t /*AFlags*/, bool /*AForce*/)
try {
    return Zn::CancelLogon(HostOf(AName));
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}
