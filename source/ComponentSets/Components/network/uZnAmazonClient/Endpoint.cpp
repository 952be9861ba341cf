#include "uZnAmazonClient/Endpoint.h"

#include "common/NetEncoding.h"

std::string Zn::TEndpoint::Authority(const std::string& AHost) const
{
    return Scheme + "://" + AHost + (Port == 0 ? std::string() : ":" + std::to_string(Port));
}

std::string Zn::TEndpoint::BaseURL(const std::string& AService, const std::string& ARegion,
                                   const std::string& ABucket) const
{
    if (Form == efPlain)
        return Authority(Domain) + "/" + (ABucket.empty() ? std::string() : ABucket + "/");
    if (!ABucket.empty() && IsFullHost(ABucket))
        return Scheme + "://" + ABucket;
    const std::string Host = AService + "." + ARegion + "." + Domain;
    return Authority(ABucket.empty() ? Host : ABucket + "." + Host) + "/";
}

std::string Zn::WithResource(const std::string& ABase, const std::string& AResource)
{
    static constexpr TZnTextSet cUnsafe(" !#$&'()*+,:;=?@[\\]");
    if (!AResource.empty() && AResource[0] != '?')
        return ABase + TZnNetEncoding::URL().Encode(AResource, cUnsafe, {TURLEncoding::EncodePercent});
    return ABase.ends_with('/') ? ABase : ABase + "/";
}
