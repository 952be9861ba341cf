#pragma once

#include "uZnWinHTTPH.h"

namespace Zn
{

/// The library's word for a client's. Raises Exception for authNone, authOAuth2 and authOther.
TWINHTTP_AUTH_SCHEME AuthSchemeOf(TZnHTTPAuthentication AAuthentication);

} // namespace Zn
