#include "common/RSASignature.h"

#include <array>
#include <bit>
#include <mutex>
#include <optional>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

#include "common/Exceptions.h"

namespace
{

constexpr std::uint32_t cMagic = 0x31415352; // "RSA1"
constexpr std::size_t cBlobHeader = 24;      // bytes
constexpr std::size_t cMaxExponent = 8;      // bytes
constexpr std::size_t cDigests = 3;

template <auto AFree>
struct Freed
{
    template <class T>
    void operator()(T* AObject) const
    {
        AFree(AObject);
    }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using ContextPtr = std::unique_ptr<EVP_PKEY_CTX, Freed<EVP_PKEY_CTX_free>>;
using NumberPtr = std::unique_ptr<BIGNUM, Freed<BN_free>>;
using BuilderPtr = std::unique_ptr<OSSL_PARAM_BLD, Freed<OSSL_PARAM_BLD_free>>;
using ParamsPtr = std::unique_ptr<OSSL_PARAM, Freed<OSSL_PARAM_free>>;

std::size_t IndexOf(TZnCryptAlgorithm AAlgorithm)
{
    return static_cast<std::size_t>(AAlgorithm) - static_cast<std::size_t>(TZnCryptAlgorithm::SHA256);
}

const EVP_MD* Digest(TZnCryptAlgorithm AAlgorithm)
{
    // Looking one up by name costs more than hashing a short text: once is enough.
    static const EVP_MD* const Kinds[] = {EVP_MD_fetch(nullptr, "SHA2-256", nullptr),
                                          EVP_MD_fetch(nullptr, "SHA2-384", nullptr),
                                          EVP_MD_fetch(nullptr, "SHA2-512", nullptr)};
    const EVP_MD* const Kind = Kinds[IndexOf(AAlgorithm)];
    if (Kind == nullptr)
        throw Exception("The system's OpenSSL has no SHA-2 of that length!");
    return Kind;
}

const unsigned char* Bytes(std::string_view AText)
{
    return reinterpret_cast<const unsigned char*>(AText.data());
}

void Check(int AResult)
{
    if (AResult <= 0)
        throw Exception("OpenSSL failed to use an RSA key!");
}

void Append(std::string& ABlob, std::size_t ANumber)
{
    for (int Shift = 0; Shift < 32; Shift += 8)
        ABlob += static_cast<char>(ANumber >> Shift & 0xFFU);
}

std::uint32_t NumberAt(std::string_view ABlob, std::size_t AIndex)
{
    std::uint32_t Number = 0;
    for (std::size_t Byte = 0; Byte < 4; ++Byte)
        Number |= static_cast<std::uint32_t>(Bytes(ABlob)[AIndex * 4 + Byte]) << (Byte * 8);
    return Number;
}

struct KeyParts
{
    std::string_view Exponent;
    std::string_view Modulus;
};

/// Nothing when the numbers in front don't fit what follows them.
std::optional<KeyParts> SplitBlob(std::string_view ABlob)
{
    if (ABlob.size() < cBlobHeader || NumberAt(ABlob, 0) != cMagic)
        return std::nullopt;
    const std::size_t Exponent = NumberAt(ABlob, 2);
    const std::size_t Modulus = NumberAt(ABlob, 3);
    if (NumberAt(ABlob, 1) != Modulus * 8 || ABlob.size() - cBlobHeader != Exponent + Modulus)
        return std::nullopt;
    return KeyParts{ABlob.substr(cBlobHeader, Exponent), ABlob.substr(cBlobHeader + Exponent)};
}

std::string_view WithoutLeadingZeros(std::string_view ANumber)
{
    return ANumber.substr(std::min(ANumber.find_first_not_of('\0'), ANumber.size()));
}

bool IsUsable(std::string_view AExponent)
{
    const std::string_view Number = WithoutLeadingZeros(AExponent);
    const bool IsOdd = !Number.empty() && (Number.back() & 1) != 0;
    return IsOdd && Number != "\x01" && Number.size() <= cMaxExponent;
}

std::size_t BitsOf(std::string_view AModulus)
{
    const std::string_view Number = WithoutLeadingZeros(AModulus);
    return Number.empty() ? 0 : Number.size() * 8 - std::countl_zero(Bytes(Number)[0]);
}

NumberPtr Number(std::string_view ABytes)
{
    return NumberPtr(BN_bin2bn(Bytes(ABytes), static_cast<int>(ABytes.size()), nullptr));
}

KeyPtr MakeKey(const KeyParts& AParts)
{
    const NumberPtr Modulus = Number(AParts.Modulus);
    const NumberPtr Exponent = Number(AParts.Exponent);
    const BuilderPtr Builder(OSSL_PARAM_BLD_new());
    Check(OSSL_PARAM_BLD_push_BN(Builder.get(), OSSL_PKEY_PARAM_RSA_N, Modulus.get()));
    Check(OSSL_PARAM_BLD_push_BN(Builder.get(), OSSL_PKEY_PARAM_RSA_E, Exponent.get()));
    const ParamsPtr Params(OSSL_PARAM_BLD_to_param(Builder.get()));
    const ContextPtr Context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    Check(EVP_PKEY_fromdata_init(Context.get()));
    EVP_PKEY* Key = nullptr;
    Check(EVP_PKEY_fromdata(Context.get(), &Key, EVP_PKEY_PUBLIC_KEY, Params.get()));
    return KeyPtr(Key);
}

ContextPtr MakeContext(EVP_PKEY* AKey, TZnCryptAlgorithm AAlgorithm)
{
    ContextPtr Context(EVP_PKEY_CTX_new(AKey, nullptr));
    Check(Context ? 1 : 0);
    Check(EVP_PKEY_verify_init(Context.get()));
    Check(EVP_PKEY_CTX_set_rsa_padding(Context.get(), RSA_PKCS1_PADDING));
    Check(EVP_PKEY_CTX_set_signature_md(Context.get(), Digest(AAlgorithm)));
    return Context;
}

} // namespace

struct TZnRSAPublicKey::TKey
{
    /// Getting a context ready takes a good part of a check's time, so one is kept. Who finds it in use makes
    /// another one: a wait would cost more.
    struct TReady
    {
        std::mutex Lock;
        ContextPtr Context; // under Lock
    };

    KeyPtr Key;
    std::array<TReady, cDigests> Ready; // by digest
};

std::string ZnDigest(TZnCryptAlgorithm AAlgorithm, std::string_view ABytes)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> Result;
    unsigned int Length = 0;
    Check(EVP_Digest(ABytes.data(), ABytes.size(), Result.data(), &Length, Digest(AAlgorithm), nullptr));
    return {reinterpret_cast<const char*>(Result.data()), Length};
}

std::string TZnRSAPublicKey::MakeBlob(std::string_view AExponent, std::string_view AModulus)
{
    std::string Blob;
    Blob.reserve(cBlobHeader + AExponent.size() + AModulus.size());
    for (const std::size_t Number : {std::size_t{cMagic}, AModulus.size() * 8, AExponent.size(),
                                     AModulus.size(), std::size_t{0}, std::size_t{0}})
        Append(Blob, Number);
    return Blob.append(AExponent).append(AModulus);
}

TZnRSAPublicKey::TZnRSAPublicKey(std::string_view AKeyBlob) : FKey(std::make_unique<TKey>())
{
    const std::optional<KeyParts> Parts = SplitBlob(AKeyBlob);
    if (!Parts)
        throw EInvalidArgument("The key is no RSA key!");
    const std::size_t Bits = BitsOf(Parts->Modulus);
    if (Bits < cMinBits || Bits > cMaxBits)
        throw EInvalidArgument(ZnFormat("A key of %zu bits is not accepted!", Bits));
    if (!IsUsable(Parts->Exponent))
        throw EInvalidArgument("The public exponent of the key is not accepted!");
    FKey->Key = MakeKey(*Parts);
}

TZnRSAPublicKey::~TZnRSAPublicKey() = default;

bool TZnRSAPublicKey::Verify(std::string_view ADigest, std::string_view ASignature,
                             TZnCryptAlgorithm AAlgorithm) const
{
    const auto IsSigned = [&](EVP_PKEY_CTX* AContext) {
        return EVP_PKEY_verify(AContext, Bytes(ASignature), ASignature.size(), Bytes(ADigest),
                               ADigest.size()) == 1;
    };
    TKey::TReady& Ready = FKey->Ready[IndexOf(AAlgorithm)];
    const std::unique_lock Guard(Ready.Lock, std::try_to_lock);
    if (!Guard.owns_lock())
        return IsSigned(MakeContext(FKey->Key.get(), AAlgorithm).get());
    if (!Ready.Context)
        Ready.Context = MakeContext(FKey->Key.get(), AAlgorithm);
    return IsSigned(Ready.Context.get());
}
