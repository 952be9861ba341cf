#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Zn
{

struct BasicCredentials
{
    std::string UserName;
    std::string Password; // colons and all
};

/// Reads what follows "Basic " in an Authorization field (RFC 7617). Without a colon the whole text is the
/// password of the empty user name. Nothing for an empty text and for what is no base64. Pure, any thread.
std::optional<BasicCredentials> ParseBasicCredentials(std::string_view ACredentials);

} // namespace Zn
