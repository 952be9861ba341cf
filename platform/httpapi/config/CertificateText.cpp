#include "platform/httpapi/config/CertificateText.h"

#include <array>
#include <climits>
#include <ctime>
#include <vector>

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/pem.h>

namespace Zn
{
namespace
{

/// Nobody is there to type one.
int NoPassword(char*, int, int, void*)
{
    return -1;
}

BioPtr Reader(std::string_view AText)
{
    return BioPtr(BIO_new_mem_buf(AText.data(), static_cast<int>(AText.size())));
}

std::string TextOf(BIO& AMemory)
{
    char* Data = nullptr;
    const long Length = BIO_get_mem_data(&AMemory, &Data);
    return Length > 0 ? std::string(Data, static_cast<std::size_t>(Length)) : std::string();
}

std::vector<CertificatePtr> ReadCertificates(std::string_view AText)
{
    std::vector<CertificatePtr> Result;
    const BioPtr Input = Reader(AText);
    while (Input) {
        CertificatePtr Next(PEM_read_bio_X509(Input.get(), nullptr, NoPassword, nullptr));
        if (!Next)
            break;
        Result.push_back(std::move(Next));
    }
    return Result;
}

KeyPtr ReadKey(std::string_view AText)
{
    const BioPtr Input = Reader(AText);
    return KeyPtr(Input ? PEM_read_bio_PrivateKey(Input.get(), nullptr, NoPassword, nullptr) : nullptr);
}

std::string NameText(const X509_NAME* AName)
{
    const BioPtr Output(BIO_new(BIO_s_mem()));
    constexpr unsigned long Utf8 = XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    if (!Output || X509_NAME_print_ex(Output.get(), AName, 0, Utf8) < 0)
        return {};
    return TextOf(*Output);
}

std::int64_t Seconds(const ASN1_TIME* ATime)
{
    std::tm Parts{};
    return ASN1_TIME_to_tm(ATime, &Parts) == 1 ? timegm(&Parts) : 0;
}

std::string AlternativeName(const GENERAL_NAME& AName)
{
    int Type = 0;
    const auto* const Value = static_cast<const ASN1_STRING*>(GENERAL_NAME_get0_value(&AName, &Type));
    if (Type != GEN_DNS && Type != GEN_IPADD)
        return {};
    const unsigned char* const Data = ASN1_STRING_get0_data(Value);
    const auto Length = static_cast<std::size_t>(ASN1_STRING_length(Value));
    if (Type == GEN_IPADD) {
        char Text[INET6_ADDRSTRLEN] = "";
        if (Length == 4 || Length == 16)
            inet_ntop(Length == 4 ? AF_INET : AF_INET6, Data, Text, sizeof Text);
        return Text;
    }
    std::string Result(reinterpret_cast<const char*>(Data), Length);
    for (char& Each : Result)
        if (Each < '!' || Each > '~')
            Each = '?'; // whoever lists it may sit at a terminal
    return Result;
}

std::string AlternativeNames(const X509& ACertificate)
{
    std::string Result;
    const GeneralNamesPtr Names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(&ACertificate, NID_subject_alt_name, nullptr, nullptr)));
    for (int At = 0; Names && At < sk_GENERAL_NAME_num(Names.get()); ++At)
        if (const std::string Name = AlternativeName(*sk_GENERAL_NAME_value(Names.get(), At)); !Name.empty())
            Result.append(Result.empty() ? "" : ", ").append(Name);
    return Result;
}

std::size_t IndexOfOwner(const std::vector<CertificatePtr>& ACertificates, const EVP_PKEY& AKey)
{
    for (std::size_t At = 0; At < ACertificates.size(); ++At)
        if (X509_check_private_key(ACertificates[At].get(), &AKey) == 1)
            return At;
    return ACertificates.size();
}

} // namespace

bool ReadCertificateText(std::string_view AText, CertificateContent& AResult)
{
    AResult = {};
    if (AText.size() > INT_MAX)
        return false;
    const std::vector<CertificatePtr> Certificates = ReadCertificates(AText);
    const KeyPtr Key = Certificates.empty() ? nullptr : ReadKey(AText);
    std::size_t Owner = Key ? IndexOfOwner(Certificates, *Key) : Certificates.size();
    ERR_clear_error(); // the end of the text and a key that doesn't fit are no failures here
    if (Certificates.empty())
        return false;
    if (Owner < Certificates.size())
        AResult.Pem.Key = KeyToPem(*Key);
    else
        Owner = 0;

    const X509& Own = *Certificates[Owner];
    AResult.Pem.Certificate = CertificateToPem(Own);
    for (std::size_t At = 0; At < Certificates.size(); ++At)
        if (At != Owner)
            AResult.Pem.Certificate += CertificateToPem(*Certificates[At]);
    AResult.Thumbprint = ThumbprintOf(Own);
    AResult.Subject = NameText(X509_get_subject_name(&Own));
    AResult.Issuer = NameText(X509_get_issuer_name(&Own));
    AResult.Names = AlternativeNames(Own);
    AResult.NotBefore = Seconds(X509_get0_notBefore(&Own));
    AResult.NotAfter = Seconds(X509_get0_notAfter(&Own));
    return true;
}

std::string ThumbprintOf(const X509& ACertificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> Bytes{};
    unsigned int Length = 0;
    if (X509_digest(&ACertificate, EVP_sha1(), Bytes.data(), &Length) != 1)
        return {};
    std::string Result;
    for (unsigned int At = 0; At < Length; ++At) {
        constexpr char Digits[] = "0123456789abcdef";
        Result += Digits[Bytes[At] >> 4];
        Result += Digits[Bytes[At] & 0x0F];
    }
    return Result;
}

std::string CertificateToPem(const X509& ACertificate)
{
    const BioPtr Output(BIO_new(BIO_s_mem()));
    return Output && PEM_write_bio_X509(Output.get(), &ACertificate) == 1 ? TextOf(*Output) : std::string();
}

std::string KeyToPem(const EVP_PKEY& AKey)
{
    const BioPtr Output(BIO_new(BIO_s_secmem()));
    return Output && PEM_write_bio_PKCS8PrivateKey(Output.get(), &AKey, nullptr, nullptr, 0, nullptr,
                                                   nullptr) == 1
               ? TextOf(*Output)
               : std::string();
}

} // namespace Zn
