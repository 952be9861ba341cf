#include "uZnHTTPServer/CertificateStore.h"

#include "common/Exceptions.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/Failures.h"

namespace
{

/// Keeps the service loaded for one call.
class TApiUse
{
public:
    TApiUse() { Zn::LoadHttpApi(); }
    ~TApiUse() { Zn::UnloadHttpApi(); }
    TApiUse(const TApiUse&) = delete;
    TApiUse& operator=(const TApiUse&) = delete;
};

template <class TFunction>
TFunction Present(TFunction AFunction)
{
    ZnAssert(AFunction != nullptr, "There are no certificate functions in Httpapi.dll.");
    return AFunction;
}

} // namespace

std::string ZnCreateServerCertificate(const std::string& AHost, const std::string& AStoreName,
                                      std::int32_t ADays)
{
    const TApiUse Use;
    char ThumbPrint[sizeof TZnHttpCertificate::Thumbprint] = "";
    CheckResult(Present(Zn::HttpApi.ZnHttpCreateCertificate)(AHost.c_str(), static_cast<std::uint32_t>(ADays),
                                                             AStoreName.c_str(), ThumbPrint),
                "No certificate could be made for \"" + AHost + "\".");
    return ThumbPrint;
}

std::string ZnImportServerCertificate(std::string_view APem, const std::string& AStoreName)
{
    const TApiUse Use;
    char ThumbPrint[sizeof TZnHttpCertificate::Thumbprint] = "";
    CheckResult(Present(Zn::HttpApi.ZnHttpImportCertificate)(
                    APem.data(), static_cast<std::uint32_t>(APem.size()), AStoreName.c_str(), ThumbPrint),
                "The certificate could not be imported.");
    return ThumbPrint;
}

void ZnDeleteServerCertificate(const std::string& AThumbPrint, const std::string& AStoreName)
{
    const TApiUse Use;
    CheckResult(Present(Zn::HttpApi.ZnHttpDeleteCertificate)(AStoreName.c_str(), AThumbPrint.c_str()),
                "The certificate could not be deleted.");
}

std::vector<TZnHTTPServerCertificate> ZnListServerCertificates(const std::string& AStoreName)
{
    const TApiUse Use;
    std::vector<TZnHTTPServerCertificate> Result;
    TZnHttpCertificate Record{};
    for (std::uint32_t Token = 0;; ++Token) {
        const std::uint32_t Status = Present(Zn::HttpApi.ZnHttpQueryCertificate)(
            AStoreName.empty() ? nullptr : AStoreName.c_str(), Token, &Record);
        if (Status == ERROR_NO_MORE_ITEMS)
            return Result;
        CheckResult(Status);
        Result.push_back({Record.Store, Record.Thumbprint, Record.Subject, Record.Issuer, Record.Names,
                          Record.NotBefore, Record.NotAfter, Record.HasKey});
    }
}
