#pragma once

/// Where a service is reached. Values in, values out.

#include <cstdint>
#include <string>

/// How a host name is made of service, region and domain.
enum TZnAmazonEndpointForm {
    efRegional, // "service.region.domain", and for a bucket "bucket.s3.region.domain"
    efPlain     // the domain is the host, and a bucket the first part of the path: for local services
};

namespace Zn
{

struct TEndpoint
{
    std::string Scheme = "https";
    std::string Domain = "amazonaws.com";
    std::string Label = "amazonaws"; // a bucket whose name holds it is a full host name
    std::uint16_t Port = 0;          // 0: the scheme's own
    TZnAmazonEndpointForm Form = efRegional;

    bool IsFullHost(const std::string& ATarget) const { return ATarget.find(Label) != std::string::npos; }

    /// The base of a service's URLs; ends in "/", but for a bucket that is a full host name. ABucket: only
    /// for "s3"; may be empty.
    std::string BaseURL(const std::string& AService, const std::string& ARegion,
                        const std::string& ABucket) const;

private:
    std::string Authority(const std::string& AHost) const;
};

/// Puts AResource behind ABase, encoded but for "/". A resource that is empty or begins with "?" is left out,
/// and the result ends in "/".
std::string WithResource(const std::string& ABase, const std::string& AResource);

} // namespace Zn
