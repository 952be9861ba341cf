#include "uZnHTTPServer/PortCertificates.h"

#include <algorithm>

#include "common/Exceptions.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/Failures.h"

namespace
{

void HandOver(const TZnHTTPPortCertificate& ACertificate)
{
    ZnAssert(Zn::HttpApi.ZnHttpSetPortCertificate != nullptr,
             "There is no function ZnHttpSetPortCertificate in Httpapi.dll.");
    const TZnHttpPortCertificate Record{
        ACertificate.Port, ACertificate.Certificate.c_str(), ACertificate.Key.c_str(),
        ACertificate.AskForClientCertificate ? ACertificate.ClientAuthorities.c_str() : nullptr};
    CheckResult(Zn::HttpApi.ZnHttpSetPortCertificate(&Record),
                ZnFormat("The certificate for port %u can't be used.", unsigned{ACertificate.Port}));
}

} // namespace

void Zn::PortCertificates::Set(TZnHTTPPortCertificate ACertificate)
{
    if (HttpApiInitialised())
        HandOver(ACertificate);
    const auto Found =
        std::find_if(FCertificates.begin(), FCertificates.end(),
                     [&](const TZnHTTPPortCertificate& AEach) { return AEach.Port == ACertificate.Port; });
    if (Found != FCertificates.end())
        *Found = std::move(ACertificate);
    else
        FCertificates.push_back(std::move(ACertificate));
}

void Zn::PortCertificates::Apply() const
{
    for (const TZnHTTPPortCertificate& Each : FCertificates)
        HandOver(Each);
}
