#include "common/Hash.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "common/Exceptions.h"
#include "common/NetEncoding.h"

namespace
{

/// Looking a digest up by name costs more than hashing a short text: once is enough.
const EVP_MD* Fetched(const EVP_MD* ADigest, const char* AName)
{
    if (!ADigest)
        throw Exception(std::string("The system's OpenSSL has no ") + AName + "!");
    return ADigest;
}

const EVP_MD* MD5()
{
    static const EVP_MD* const Digest = Fetched(EVP_MD_fetch(nullptr, "MD5", nullptr), "MD5");
    return Digest;
}

const EVP_MD* SHA256()
{
    static const EVP_MD* const Digest = Fetched(EVP_MD_fetch(nullptr, "SHA2-256", nullptr), "SHA-256");
    return Digest;
}

void Check(int AResult)
{
    if (AResult != 1)
        throw Exception("OpenSSL failed to compute a digest!");
}

TZnBytes DigestOf(std::string_view ABytes, const EVP_MD* AKind)
{
    TZnBytes Digest(static_cast<std::size_t>(EVP_MD_get_size(AKind)));
    Check(EVP_Digest(ABytes.data(), ABytes.size(), reinterpret_cast<unsigned char*>(Digest.data()), nullptr,
                     AKind, nullptr));
    return Digest;
}

std::string_view ViewOf(const TZnBytes& ABytes)
{
    return {reinterpret_cast<const char*>(ABytes.data()), ABytes.size()};
}

} // namespace

std::string MD5Hash(std::string_view ABytes)
{
    unsigned char Digest[16]; // on the stack: two of these are a Digest check
    Check(EVP_Digest(ABytes.data(), ABytes.size(), Digest, nullptr, MD5(), nullptr));
    return TZnNetEncoding::GetHexEncoding().Encode({reinterpret_cast<const char*>(Digest), sizeof(Digest)});
}

struct THashSHA2::TContext
{
    TContext() : Handle(EVP_MD_CTX_new())
    {
        if (!Handle)
            throw EOutOfMemory();
        Check(EVP_DigestInit_ex2(Handle, SHA256(), nullptr));
    }
    ~TContext() { EVP_MD_CTX_free(Handle); }
    TContext(const TContext&) = delete;
    TContext& operator=(const TContext&) = delete;

    EVP_MD_CTX* Handle;
};

THashSHA2::THashSHA2() : FContext(std::make_unique<TContext>()) {}
THashSHA2::~THashSHA2() = default;
THashSHA2::THashSHA2(THashSHA2&&) noexcept = default;
THashSHA2& THashSHA2::operator=(THashSHA2&&) noexcept = default;

void THashSHA2::Update(std::string_view ABytes)
{
    ZnAssert(FDigest.empty(), "The digest has been taken already");
    Check(EVP_DigestUpdate(FContext->Handle, ABytes.data(), ABytes.size()));
}

const TZnBytes& THashSHA2::HashAsBytes()
{
    if (FDigest.empty()) {
        TZnBytes Digest(static_cast<std::size_t>(EVP_MD_get_size(SHA256())));
        Check(EVP_DigestFinal_ex(FContext->Handle, reinterpret_cast<unsigned char*>(Digest.data()), nullptr));
        FDigest = std::move(Digest);
    }
    return FDigest;
}

std::string THashSHA2::HashAsString()
{
    return DigestAsString(HashAsBytes());
}

TZnBytes THashSHA2::GetHashBytes(std::string_view ABytes)
{
    return DigestOf(ABytes, SHA256());
}

std::string THashSHA2::GetHashString(std::string_view ABytes)
{
    return DigestAsString(GetHashBytes(ABytes));
}

TZnBytes THashSHA2::GetHMACAsBytes(std::string_view ABytes, std::string_view AKey)
{
    TZnBytes Digest(static_cast<std::size_t>(EVP_MD_get_size(SHA256())));
    ZnAssert(AKey.size() <= 0x7FFFFFFF, "The key is too long");
    if (!HMAC(SHA256(), AKey.data(), static_cast<int>(AKey.size()),
              reinterpret_cast<const unsigned char*>(ABytes.data()), ABytes.size(),
              reinterpret_cast<unsigned char*>(Digest.data()), nullptr))
        Check(0);
    return Digest;
}

TZnBytes THashSHA2::GetHMACAsBytes(std::string_view ABytes, const TZnBytes& AKey)
{
    return GetHMACAsBytes(ABytes, ViewOf(AKey));
}

std::string THashSHA2::DigestAsString(const TZnBytes& ADigest)
{
    return TZnNetEncoding::GetHexEncoding().Encode(ViewOf(ADigest));
}

bool ZnSameSecret(std::string_view ALeft, std::string_view ARight)
{
    return ALeft.size() == ARight.size() && CRYPTO_memcmp(ALeft.data(), ARight.data(), ALeft.size()) == 0;
}
