#pragma once

/// The words that HTTP clients and servers share: methods, versions and status codes, the
/// exceptions that carry a status, the URL record with its parser, cookies.
///
/// Include this header; the folder uZnHTTPBase/ holds its parts.

#include "uZnHTTPBase/Cookies.h"
#include "uZnHTTPBase/HTTPExceptions.h"
#include "uZnHTTPBase/StatusTexts.h"
#include "uZnHTTPBase/Url.h"
#include "uZnHTTPBase/UrlEncoding.h"
#include "uZnHTTPBase/Vocabulary.h"
