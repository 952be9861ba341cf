#pragma once

/// RSA signatures of others, checked: RSASSA-PKCS1-v1_5 (RFC 8017, section 8.2) with SHA-2, through OpenSSL.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Api.h"

/// The digest below a signature.
enum class TZnCryptAlgorithm : std::uint8_t { SHA256 = 13, SHA384 = 14, SHA512 = 15 };

/// The digest of ABytes: 32, 48 or 64 bytes.
ZN_API std::string ZnDigest(TZnCryptAlgorithm AAlgorithm, std::string_view ABytes);

/// A public key. Verify from any thread, several at once.
class ZN_API TZnRSAPublicKey
{
public:
    static constexpr std::size_t cMinBits = 2048; // RFC 7518, section 3.3, asks for them
    static constexpr std::size_t cMaxBits = 8192; // the cost of a check grows with the square of it

    /// The form in which a key is handed over: six numbers of 32 bits, little-endian (0x31415352, bits of the
    /// modulus, bytes of the exponent, bytes of the modulus, 0, 0), then exponent and modulus, big-endian.
    static std::string MakeBlob(std::string_view AExponent, std::string_view AModulus);

    /// Imports such a blob. Raises EInvalidArgument for one that isn't whole, for a modulus of fewer or more
    /// bits than the above, and for an exponent that is even, 1, or longer than 8 bytes.
    explicit TZnRSAPublicKey(std::string_view AKeyBlob);
    ~TZnRSAPublicKey();
    TZnRSAPublicKey(const TZnRSAPublicKey&) = delete;
    TZnRSAPublicKey& operator=(const TZnRSAPublicKey&) = delete;

    /// Whether ASignature is this key's over a text with that digest. A signature of another length is none.
    bool Verify(std::string_view ADigest, std::string_view ASignature, TZnCryptAlgorithm AAlgorithm) const;

private:
    struct TKey;
    std::unique_ptr<TKey> FKey;
};
