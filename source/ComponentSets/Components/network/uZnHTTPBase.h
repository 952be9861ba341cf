#pragma once

/// The words that HTTP clients and servers share: methods, versions and status codes, the
/// exceptions that carry a status, the URL record with its parser, header fields, cookies, credentials
/// and the settings of OAuth 2.
///
/// Include this header; the folder uZnHTTPBase/ holds its parts.

#include "uZnHTTPBase/AuthenticationFailure.h"
#include "uZnHTTPBase/Cookies.h"
#include "uZnHTTPBase/Credentials.h"
#include "uZnHTTPBase/HTTPExceptions.h"
#include "uZnHTTPBase/Header.h"
#include "uZnHTTPBase/OAuth.h"
#include "uZnHTTPBase/StatusTexts.h"
#include "uZnHTTPBase/Url.h"
#include "uZnHTTPBase/UrlEncoding.h"
#include "uZnHTTPBase/Vocabulary.h"
