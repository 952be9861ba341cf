#pragma once

/// What is asked of an identity provider, by an HTTP client that lives for the one exchange.

#include <cstdint>
#include <optional>
#include <string>

namespace Zn
{

struct ProviderAnswer
{
    std::int32_t Status = 0;
    std::string ContentType;
    std::string Body;
};

/// Longest answer that is read, in bytes; EStreamError for a longer one.
inline constexpr std::int64_t cMaxProviderAnswer = 1 << 20;

/// The body of an answer 200; nothing for any other status. Raises what the client raises.
std::optional<std::string> GetFromProvider(const std::string& AUrl);

/// Posts a form. Raises what the client raises.
ProviderAnswer PostToProvider(const std::string& AUrl, const std::string& AForm);

} // namespace Zn
