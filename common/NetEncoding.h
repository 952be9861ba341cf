#pragma once

/// Text forms of bytes on the net: percent escapes, base64, hexadecimal.

#include <cstdint>
#include <string>
#include <string_view>

#include "common/Encoding.h"
#include "common/Set.h"
#include "common/TextSet.h"

class TStream;

/// Percent-encoding (RFC 3986) and its form variant (application/x-www-form-urlencoded).
/// Works on the UTF-8 bytes of a text. Any thread.
class TURLEncoding
{
public:
    /// How a text becomes a part of a URL or form.
    enum TEncodeOption : std::uint8_t {
        SpacesAsPlus, // a blank becomes "+", not "%20"
        EncodePercent // every "%" is encoded; without it an escape that is already there stays
    };
    /// How it is read back.
    enum TDecodeOption : std::uint8_t {
        PlusAsSpaces // "+" becomes a blank
    };
    /// Any of them together.
    using TEncodeOptions = TZnSet<TEncodeOption>;
    /// Any of them together.
    using TDecodeOptions = TZnSet<TDecodeOption>;

    /// Encodes the characters of AUnsafe and, always, those that no URL may hold: controls, the
    /// blank, bytes above 0x7F and " < > \ ^ ` { | }. Hexadecimal digits are upper case. "%" is
    /// encoded where EncodePercent is given or no two hexadecimal digits follow.
    std::string Encode(std::string_view AText, const TZnTextSet& AUnsafe, TEncodeOptions AOptions) const;

    /// A name or value of a form: all but letters, digits and * - . _ is encoded, blanks as "+".
    std::string EncodeForm(std::string_view AText) const;

    /// Resolves the escapes; the bytes are read as UTF-8, ill-formed ones as U+FFFD. Raises
    /// EConvertError for a "%" without two hexadecimal digits.
    std::string Decode(std::string_view AText, TDecodeOptions AOptions = {}) const;
};

/// Bytes to text and back.
class TZnBinEncoding
{
public:
    virtual ~TZnBinEncoding() = default;

    /// Bytes as text. Any thread.
    virtual std::string Encode(std::string_view ABytes) const = 0;

    /// Raises EConvertError for a text that isn't of this form.
    virtual std::string Decode(std::string_view AText) const = 0;

    /// The same for owned bytes.
    std::string Encode(const TZnBytes& ABytes) const;
    /// The bytes back. Raises EConvertError for a text that isn't of this form.
    TZnBytes DecodeBytes(std::string_view AText) const;

    /// Writes the decoded bytes to AOutput at its position.
    void Decode(std::string_view AText, TStream& AOutput) const;
};

/// Base64 (RFC 4648) without line breaks. Reads the URL alphabet as well, with or without the
/// padding, and passes over line breaks and blanks.
class TZnBase64Encoding final : public TZnBinEncoding
{
public:
    using TZnBinEncoding::Decode;
    using TZnBinEncoding::Encode;
    std::string Encode(std::string_view ABytes) const override;
    std::string Decode(std::string_view AText) const override;

    /// The URL alphabet ("-" and "_"), without padding.
    std::string EncodeURL(std::string_view ABytes) const;
};

/// Two lower-case digits for each byte. Reads both cases.
class TZnHexEncoding final : public TZnBinEncoding
{
public:
    using TZnBinEncoding::Decode;
    using TZnBinEncoding::Encode;
    std::string Encode(std::string_view ABytes) const override;
    std::string Decode(std::string_view AText) const override;
};

/// The encodings, each made once.
class TZnNetEncoding
{
public:
    /// Percent encoding (RFC 3986, 2.1), for the whole process.
    static const TURLEncoding& URL();
    /// Base64 (RFC 4648, 4) without line breaks, for the whole process.
    static const TZnBase64Encoding& GetBase64ExEncoding();
    /// Two hexadecimal digits a byte, for the whole process.
    static const TZnHexEncoding& GetHexEncoding();
};
