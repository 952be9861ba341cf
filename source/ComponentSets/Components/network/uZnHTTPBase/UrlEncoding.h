#pragma once

#include <string>
#include <string_view>

#include "common/Encoding.h"
#include "platform/Api.h"

class TStream;

/// Percent-encodes a text for use as one component of a URL: besides what no URL may hold, "%" and
/// ! # $ & ' ( ) * + , / : ; = ? @ [ ] are encoded. "a/b" gives "a%2Fb".
ZN_API std::string ZnURLEncode(std::string_view AText);

/// Resolves percent escapes and "+" as a blank; ill-formed UTF-8 becomes U+FFFD. Raises
/// EConvertError for a "%" that two hexadecimal digits don't follow.
ZN_API std::string ZnURLDecode(const AnsiString& AEncoded);

/// The same from all of AInput, wherever its position stands, to AOutput at its position.
ZN_API void ZnURLDecode(TStream& AInput, TStream& AOutput);
