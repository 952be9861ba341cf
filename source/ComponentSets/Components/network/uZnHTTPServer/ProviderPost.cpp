#include "uZnHTTPServer/ProviderPost.h"

#include "common/StringList.h"
#include "common/Text.h"

Zn::ProviderPost Zn::ReadProviderPost(std::string_view ABody)
{
    TStringList Fields;
    ZnTokenize(ABody, Fields, cZnAmpersand);
    return {.IdToken = Fields.GetValue("id_token"),
            .Code = Fields.GetValue("code"),
            .State = Fields.GetValue("state")};
}
