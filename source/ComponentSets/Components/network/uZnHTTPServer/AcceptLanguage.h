#pragma once

#include <string_view>
#include <vector>

#include "common/Language.h"
#include "platform/Api.h"

/// The languages that a client accepts, the best first. Points into a table that lives as long as
/// the program.
using TZnHTTPAcceptedLanguages = std::vector<PZnLanguageIdent>;

/// Reads an Accept-Language field (RFC 9110, 12.5.4): "de-DE,en;q=0.5". Entries of equal weight keep
/// their order. A range that the library doesn't know, or whose weight is no number, is dropped;
/// with nothing left the answer is LANGID_ENGLISH_US alone. Never raises. Any thread.
ZN_API TZnHTTPAcceptedLanguages ZnParseAcceptLanguage(std::string_view AHeader);
