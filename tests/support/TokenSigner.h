#pragma once

// An identity provider's key: signs tokens and tells its public half.

#include <memory>
#include <string>
#include <string_view>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "common/NetEncoding.h"

namespace Zn::Tests
{

class TokenSigner
{
public:
    explicit TokenSigner(unsigned int ABits = 2048) : FKey(EVP_RSA_gen(ABits), EVP_PKEY_free) {}

    std::string Modulus() const { return NumberOf(OSSL_PKEY_PARAM_RSA_N); }
    std::string Exponent() const { return NumberOf(OSSL_PKEY_PARAM_RSA_E); }

    /// Both halves; the signer's.
    EVP_PKEY* Key() const { return FKey.get(); }

    /// A key set with this one key.
    std::string KeySet(const std::string& AKid) const { return KeySet(AKid, Modulus(), Exponent()); }
    static std::string KeySet(const std::string& AKid, const std::string& AModulus,
                              const std::string& AExponent)
    {
        return R"({"keys":[{"kid":")" + AKid + R"(","kty":"RSA","use":"sig","n":")" + Encoded(AModulus) +
               R"(","e":")" + Encoded(AExponent) + R"("}]})";
    }

    /// Header and payload as JSON, signed with a digest such as "SHA256".
    std::string Sign(const std::string& AHeader, const std::string& APayload, const char* ADigest) const
    {
        std::string Text = Encoded(AHeader) + "." + Encoded(APayload);
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> Context(EVP_MD_CTX_new(),
                                                                              EVP_MD_CTX_free);
        std::string Signature(static_cast<std::size_t>(EVP_PKEY_get_size(FKey.get())), '\0');
        std::size_t Length = Signature.size();
        EVP_DigestSignInit_ex(Context.get(), nullptr, ADigest, nullptr, nullptr, FKey.get(), nullptr);
        EVP_DigestSign(Context.get(), reinterpret_cast<unsigned char*>(Signature.data()), &Length,
                       reinterpret_cast<const unsigned char*>(Text.data()), Text.size());
        return Text + "." + Encoded(Signature.substr(0, Length));
    }

    static std::string Encoded(std::string_view ABytes)
    {
        return TZnNetEncoding::GetBase64ExEncoding().EncodeURL(ABytes);
    }

private:
    std::string NumberOf(const char* AName) const
    {
        BIGNUM* Number = nullptr;
        EVP_PKEY_get_bn_param(FKey.get(), AName, &Number);
        std::string Bytes(static_cast<std::size_t>(BN_num_bytes(Number)), '\0');
        BN_bn2bin(Number, reinterpret_cast<unsigned char*>(Bytes.data()));
        BN_free(Number);
        return Bytes;
    }

    std::shared_ptr<EVP_PKEY> FKey;
};

} // namespace Zn::Tests
