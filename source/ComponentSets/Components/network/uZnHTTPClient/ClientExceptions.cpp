#include "uZnHTTPClient/ClientExceptions.h"

#include <utility>

namespace
{

std::string FailureText(const std::string& ASender, std::uint32_t AErrorCode, const std::string& AErrorMsg,
                        const std::string& AServerError)
{
    const std::string Code = std::to_string(static_cast<std::int32_t>(AErrorCode));
    std::string Text = "The call to \"" + ASender + "\" failed with errorcode \"" + Code + "\"!";
    if (!AErrorMsg.empty() && AErrorMsg != "Error " + Code)
        Text += "\r\n" + AErrorMsg;
    if (!AServerError.empty())
        Text += "\r\n" + AServerError;
    return Text;
}

} // namespace

EZnHTTPClientApiException::EZnHTTPClientApiException(const std::string& ASender, std::uint32_t AErrorCode,
                                                     const std::string& AErrorMsg, std::string AServerError)
    : EZnHTTPApiException(ASender, FailureText(ASender, AErrorCode, AErrorMsg, AServerError),
                          static_cast<int>(AErrorCode)),
      FServerError(std::move(AServerError))
{
}
