/// What a post brings stands in it as it is, and fields of other names change nothing.

#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "uZnHTTPServer/ProviderPost.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string Body(reinterpret_cast<const char*>(AData), ALength);
    const Zn::ProviderPost Post = Zn::ReadProviderPost(Body);
    for (const std::string* Value : {&Post.IdToken, &Post.Code, &Post.State})
        Zn::FuzzCheck(Value->find('&') == Value->npos && Body.find(*Value) != Body.npos, "as it arrives");

    const Zn::ProviderPost Again = Zn::ReadProviderPost(Body + "&session_state=1&iss=x");
    Zn::FuzzCheck(Again.IdToken == Post.IdToken && Again.Code == Post.Code && Again.State == Post.State,
                  "other fields don't matter");
    return 0;
}
