#include "platform/httpapi/config/Configuration.h"

#include "platform/errors/Errors.h"
#include "platform/httpapi/config/CertificateStore.h"
#include "platform/httpapi/config/ConfigurationStore.h"

namespace Zn
{

std::uint32_t FindCertificateBinding(std::uint16_t APort, std::optional<CertificateBinding>& AResult)
{
    AResult.reset();
    ConfigurationTables Tables;
    if (const std::uint32_t Result = ConfigurationStore::Load(Tables); Result != NO_ERROR)
        return Result;
    for (const SslBinding& Each : Tables.SslBindings)
        if (Each.Port == APort)
            AResult = {Each.Store.empty() ? CertificateStore::DefaultName : Each.Store, Each.Thumbprint,
                       Each.NegotiateClientCertificate};
    return NO_ERROR;
}

std::uint32_t LoadListenAddresses(std::vector<std::string>& AResult)
{
    ConfigurationTables Tables;
    const std::uint32_t Result = ConfigurationStore::Load(Tables);
    AResult = std::move(Tables.ListenAddresses);
    return Result;
}

} // namespace Zn
