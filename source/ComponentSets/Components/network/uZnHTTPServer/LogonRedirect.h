#pragma once

#include <exception>
#include <string>
#include <string_view>

class TZnCustomHTTPServer;
class TZnHTTPServerResponse;
struct TZnHTTPServerRequest;

namespace Zn
{

/// A page that takes a browser to AUrl, for those that ignore Location.
std::string RefreshPage(std::string_view AUrl);

/// Answers 302 with AMessage as reason phrase. AIsError: the cookie "X-Auth-Error" brings AMessage to the
/// page at AUrl, for 5 seconds. Control characters become blanks, in the cookie a ";" becomes a ",": a
/// message may tell what somebody else wrote.
void AuthRedirect(TZnHTTPServerResponse& AResponse, const std::string& AUrl, bool AIsError,
                  const std::string& AMessage);

/// Answers with the page that takes a browser to AUrl, and AStatusDescription as reason phrase; ALocation
/// is for the Location field.
void AnswerWithRedirect(TZnHTTPServerResponse& AResponse, const std::string& ALocation, std::string_view AUrl,
                        std::string AStatusDescription);

/// Answers 503 where no token could be made for the caller: too many are logged on, or there is no memory.
void AnswerWithoutToken(const TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse,
                        const std::exception& AException);

/// Gives the browser a token, for the time that it runs. Scripts of the site can read it: pages that end a
/// session or tell whether there is one rely on it. Marked Secure where https is served on port 443 or the
/// request came by https.
void SetTokenCookie(const TZnCustomHTTPServer& AServer, const TZnHTTPServerRequest& ARequest,
                    TZnHTTPServerResponse& AResponse, const std::string& ATokenId);

/// Takes the token from the browser.
void DeleteTokenCookie(const TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse);

} // namespace Zn
