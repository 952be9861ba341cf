#include "platform/httpapi/config/SelfSigned.h"

#include <algorithm>

#include <openssl/ec.h>
#include <openssl/err.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Endpoint.h"
#include "platform/httpapi/config/CertificateText.h"

namespace Zn
{
namespace
{

constexpr std::uint32_t MaxDays = 36500;
constexpr std::size_t MaxNameLength = 253;      // RFC 1035
constexpr std::size_t MaxCommonNameLength = 64; // X.520
constexpr int SerialBits = 127;                 // positive within 16 bytes (RFC 5280, 4.1.2.2)

bool IsHostName(std::string_view AName)
{
    if (AName.starts_with("*."))
        AName.remove_prefix(2);
    if (AName.empty() || AName.size() > MaxNameLength || AName.find("..") != std::string_view::npos)
        return false;
    const auto Allowed = [](char AChar) {
        return (AChar >= 'a' && AChar <= 'z') || (AChar >= 'A' && AChar <= 'Z') ||
               (AChar >= '0' && AChar <= '9') || AChar == '-' || AChar == '_' || AChar == '.';
    };
    return AName.front() != '.' && AName.front() != '-' && AName.back() != '.' &&
           std::all_of(AName.begin(), AName.end(), Allowed);
}

bool AddExtension(X509& ACertificate, int AKind, const std::string& AValue)
{
    X509V3_CTX Context;
    X509V3_set_ctx_nodb(&Context);
    X509V3_set_ctx(&Context, &ACertificate, &ACertificate, nullptr, nullptr, 0);
    const ExtensionPtr Extension(X509V3_EXT_conf_nid(nullptr, &Context, AKind, AValue.c_str()));
    return Extension && X509_add_ext(&ACertificate, Extension.get(), -1) == 1;
}

bool SetSerial(X509& ACertificate)
{
    const BignumPtr Serial(BN_new());
    return Serial && BN_rand(Serial.get(), SerialBits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
           BN_to_ASN1_INTEGER(Serial.get(), X509_get_serialNumber(&ACertificate)) != nullptr;
}

bool SetNames(X509& ACertificate, const std::string& AHost)
{
    X509_NAME* const Subject = X509_get_subject_name(&ACertificate);
    const std::string Common = AHost.substr(0, MaxCommonNameLength);
    return X509_NAME_add_entry_by_txt(Subject, "CN", MBSTRING_UTF8,
                                      reinterpret_cast<const unsigned char*>(Common.data()),
                                      static_cast<int>(Common.size()), -1, 0) == 1 &&
           X509_set_issuer_name(&ACertificate, Subject) == 1;
}

bool SetPeriod(X509& ACertificate, std::uint32_t ADays)
{
    // The last second counts as well (RFC 5280, 4.1.2.5).
    return X509_gmtime_adj(X509_getm_notBefore(&ACertificate), 0) != nullptr &&
           X509_time_adj_ex(X509_getm_notAfter(&ACertificate), static_cast<int>(ADays), -1, nullptr) !=
               nullptr;
}

bool Fill(X509& ACertificate, EVP_PKEY& AKey, const std::string& AHost, const std::string& AAltName,
          std::uint32_t ADays)
{
    return X509_set_version(&ACertificate, X509_VERSION_3) == 1 && SetSerial(ACertificate) &&
           SetNames(ACertificate, AHost) && SetPeriod(ACertificate, ADays) &&
           X509_set_pubkey(&ACertificate, &AKey) == 1 &&
           AddExtension(ACertificate, NID_basic_constraints, "critical,CA:FALSE") &&
           AddExtension(ACertificate, NID_key_usage, "critical,digitalSignature") &&
           AddExtension(ACertificate, NID_ext_key_usage, "serverAuth") &&
           AddExtension(ACertificate, NID_subject_key_identifier, "hash") &&
           AddExtension(ACertificate, NID_subject_alt_name, AAltName) &&
           X509_sign(&ACertificate, &AKey, EVP_sha256()) > 0;
}

} // namespace

std::uint32_t MakeSelfSigned(const std::string& AHost, std::uint32_t ADays, std::string& APem)
{
    const bool IsAddress = AHost.find('%') == std::string::npos && EndpointFromText(AHost, 0).has_value();
    if ((!IsAddress && !IsHostName(AHost)) || ADays < 1 || ADays > MaxDays)
        return ERROR_INVALID_PARAMETER;
    const KeyPtr Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const CertificatePtr Certificate(X509_new());
    if (!Key || !Certificate ||
        !Fill(*Certificate, *Key, AHost, (IsAddress ? "IP:" : "DNS:") + AHost, ADays)) {
        ERR_clear_error();
        return ERROR_GEN_FAILURE;
    }
    APem = CertificateToPem(*Certificate) + KeyToPem(*Key);
    return NO_ERROR;
}

} // namespace Zn
