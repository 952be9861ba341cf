#pragma once

/// Digests and keyed digests.

#include <memory>
#include <string>
#include <string_view>

#include "common/Encoding.h"

/// The MD5 digest of bytes as 32 lower-case hexadecimal digits. For digest authentication
/// (RFC 7616) and its stored hashes only: MD5 guards nothing against a determined forger.
std::string MD5Hash(std::string_view ABytes);

/// SHA-256 (FIPS 180-4) and HMAC-SHA-256 (RFC 2104), at once or in pieces:
///   THashSHA2 Hash; Hash.Update(Head); Hash.Update(Body); use Hash.HashAsString().
class THashSHA2
{
public:
    THashSHA2();
    ~THashSHA2();
    /// Takes the state of AOther over, which is of no use afterwards.
    THashSHA2(THashSHA2&&) noexcept;
    /// Takes the state of AOther over, which is of no use afterwards.
    THashSHA2& operator=(THashSHA2&&) noexcept;

    /// Adds bytes. Not after the digest was taken: that is asserted.
    void Update(std::string_view ABytes);

    /// The digest of all that was added, 32 bytes. May be asked for again.
    const TZnBytes& HashAsBytes();

    /// The same as 64 lower-case hexadecimal digits.
    std::string HashAsString();

    /// SHA-256 of a text at once: 32 bytes.
    static TZnBytes GetHashBytes(std::string_view ABytes);
    /// SHA-256 of a text at once, as 64 hexadecimal digits in small letters.
    static std::string GetHashString(std::string_view ABytes);

    /// HMAC-SHA-256 of ABytes, 32 bytes.
    static TZnBytes GetHMACAsBytes(std::string_view ABytes, std::string_view AKey);
    /// HMAC (RFC 2104) with SHA-256: 32 bytes. A key may have any length up to 2 GiB.
    static TZnBytes GetHMACAsBytes(std::string_view ABytes, const TZnBytes& AKey);

    /// Bytes as lower-case hexadecimal digits.
    static std::string DigestAsString(const TZnBytes& ADigest);

private:
    struct TContext;
    std::unique_ptr<TContext> FContext;
    TZnBytes FDigest;
};

/// Compares secrets in a time that depends on their lengths only.
bool ZnSameSecret(std::string_view ALeft, std::string_view ARight);
