#include "platform/wininet/Numbers.h"

#include "platform/errors/Errors.h"
#include "platform/wininet/Wininet.h"

std::uint32_t Zn::Wininet::NumberFor(std::uint32_t AError)
{
    // The first set's number for what is wrong otherwise has no meaning here.
    return AError == ERROR_WINHTTP_SECURE_FAILURE ? INTERNET_SEC_CERT_ERRORS : AError;
}
