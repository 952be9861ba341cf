#pragma once

#include <exception>
#include <string>
#include <string_view>

class TZnHTTPServerResponse;

namespace Zn
{

struct ErrorPage
{
    std::string ContentType;
    std::string Body; // UTF-8
};

/// AText as a JSON string for a client whose Accept field contains "json" (with regard to case), else in
/// an HTML page. AText is escaped: it may repeat what a client sent.
ErrorPage MakeErrorPage(std::string_view AAccept, const std::string& AText);
/// The same with a text for each form.
ErrorPage MakeErrorPage(std::string_view AAccept, const std::string& AHtmlText, const std::string& AJsonText);

/// "ERROR 404: message": the text for exceptions that carry a status.
std::string NumberedErrorText(int ACode, const std::string& AMessage);

/// "EClass: message": the text for any other exception.
std::string ExceptionText(const std::exception& AException);

/// Turns the response into an error page: status, reason phrase of the table, text.
void AnswerWithErrorPage(TZnHTTPServerResponse& AResponse, int AStatusCode, const ErrorPage& APage);

} // namespace Zn
