#include "uZnHTTPClient/ClientBase.h"

void TZnHTTPClientBase::GetOAuthAccessToken()
{
    if (!FOAuth.GetAccessToken().GetExpired())
        return;
    throw EZnHTTPInvalidArgument(
        "There is no access token, or it has expired. This client gets none by itself: give "
        "it one by OAuth.SetAccessToken!");
}
