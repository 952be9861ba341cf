#pragma once

#include <string>
#include <string_view>

namespace Zn
{

/// What a browser brings from an identity provider (response_mode=form_post).
struct ProviderPost
{
    std::string IdToken;
    std::string Code;
    std::string State;
};

/// The fields of a form body, as they arrive: what stands in these is not escaped by providers. The first of
/// like-named ones counts.
ProviderPost ReadProviderPost(std::string_view ABody);

} // namespace Zn
