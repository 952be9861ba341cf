#pragma once

/// Languages and regions that the library knows by name and number.

#include <cstdint>
#include <string_view>

#include "platform/Api.h"

/// A language with a region: {"de", "AT", 0x0C07}.
struct TZnLanguageIdent
{
    std::string_view Language;    // ISO 639, lower case
    std::string_view Sublanguage; // ISO 3166 region or ISO 15924 script, upper case
    std::uint16_t LangId;         // the number of the pair: region << 10 | language
};

/// Points into a table that lives as long as the program.
using PZnLanguageIdent = const TZnLanguageIdent*;

/// American English, which stands for every language that isn't known.
ZN_API extern const PZnLanguageIdent LANGID_ENGLISH_US;

/// The entry of ALanguage and ASublanguage, both without regard to case; nil when unknown. An empty
/// ASublanguage means the language's usual region. An unknown one gives nil with AExact and
/// the usual region without it, so that an English text reaches a reader of "en-DE".
ZN_API PZnLanguageIdent ZnGetLanguage(std::string_view ALanguage, std::string_view ASublanguage, bool AExact);
