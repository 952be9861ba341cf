#include "platform/httpapi/config/Configuration.h"

#include "platform/errors/Errors.h"
#include "platform/httpapi/config/CertificateStore.h"
#include "platform/httpapi/config/ConfigurationStore.h"

namespace Zn
{

std::optional<CertificateBinding> FindCertificateBinding(std::uint16_t APort)
{
    ConfigurationTables Tables;
    if (ConfigurationStore::Load(Tables) != NO_ERROR)
        return std::nullopt;
    for (const SslBinding& Each : Tables.SslBindings)
        if (Each.Port == APort)
            return CertificateBinding{Each.Store.empty() ? CertificateStore::DefaultName : Each.Store,
                                      Each.Thumbprint, Each.NegotiateClientCertificate};
    return std::nullopt;
}

std::uint32_t LoadListenAddresses(std::vector<std::string>& AResult)
{
    ConfigurationTables Tables;
    const std::uint32_t Result = ConfigurationStore::Load(Tables);
    AResult = std::move(Tables.ListenAddresses);
    return Result;
}

} // namespace Zn
