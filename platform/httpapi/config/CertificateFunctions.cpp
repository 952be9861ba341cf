// The operations on the certificate store that the service publishes beside those of its tables.

#include <algorithm>
#include <cstring>

#include "platform/httpapi/Guarded.h"
#include "platform/httpapi/Httpapi.h"
#include "platform/httpapi/config/CertificateStore.h"
#include "platform/httpapi/config/SelfSigned.h"

namespace Zn
{
namespace
{

std::string TextOf(const char* AText)
{
    return AText != nullptr ? AText : "";
}

/// Cut where it is too long; the record was zeroed.
template <std::size_t Size>
void Copy(char (&ATarget)[Size], const std::string& AText)
{
    std::memcpy(ATarget, AText.data(), std::min(AText.size(), Size - 1));
}

std::uint32_t AddCertificate(const char* AStore, std::string_view AText, char* AThumbprint)
{
    std::string Thumbprint;
    const std::uint32_t Result = CertificateStore::Add(TextOf(AStore), AText, Thumbprint);
    if (Result == NO_ERROR)
        std::memcpy(AThumbprint, Thumbprint.c_str(), Thumbprint.size() + 1);
    return Result;
}

} // namespace
} // namespace Zn

std::uint32_t ZnHttpCreateCertificate(const char* AHost, std::uint32_t ADays, const char* AStore,
                                      char* AThumbprint)
{
    if (AHost == nullptr || AThumbprint == nullptr)
        return ERROR_INVALID_PARAMETER;
    return Zn::Guarded([&]() -> std::uint32_t {
        std::string Pem;
        if (const std::uint32_t Result = Zn::MakeSelfSigned(AHost, ADays, Pem); Result != NO_ERROR)
            return Result;
        return Zn::AddCertificate(AStore, Pem, AThumbprint);
    });
}

std::uint32_t ZnHttpImportCertificate(const char* APem, std::uint32_t ALength, const char* AStore,
                                      char* AThumbprint)
{
    if (APem == nullptr || AThumbprint == nullptr)
        return ERROR_INVALID_PARAMETER;
    return Zn::Guarded([&] { return Zn::AddCertificate(AStore, {APem, ALength}, AThumbprint); });
}

std::uint32_t ZnHttpDeleteCertificate(const char* AStore, const char* AThumbprint)
{
    return Zn::Guarded(
        [&] { return Zn::CertificateStore::Remove(Zn::TextOf(AStore), Zn::TextOf(AThumbprint)); });
}

std::uint32_t ZnHttpQueryCertificate(const char* AStore, std::uint32_t AToken, TZnHttpCertificate* AResult)
{
    if (AResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    return Zn::Guarded([&]() -> std::uint32_t {
        const auto Entries = Zn::CertificateStore::List(Zn::TextOf(AStore));
        if (AToken >= Entries.size())
            return ERROR_NO_MORE_ITEMS;
        const Zn::CertificateContent& Content = Entries[AToken].Content;
        *AResult = {};
        Zn::Copy(AResult->Store, Entries[AToken].Store);
        Zn::Copy(AResult->Thumbprint, Content.Thumbprint);
        Zn::Copy(AResult->Subject, Content.Subject);
        Zn::Copy(AResult->Issuer, Content.Issuer);
        Zn::Copy(AResult->Names, Content.Names);
        AResult->NotBefore = Content.NotBefore;
        AResult->NotAfter = Content.NotAfter;
        AResult->HasKey = !Content.Pem.Key.empty();
        return NO_ERROR;
    });
}
