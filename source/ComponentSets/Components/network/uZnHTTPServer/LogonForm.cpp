#include "uZnHTTPServer/LogonForm.h"

#include "common/Encoding.h"
#include "common/NetEncoding.h"
#include "common/StringList.h"
#include "common/Text.h"

namespace Zn
{

LogonForm ReadLogonForm(std::string_view ABody)
{
    TStringList Fields;
    ZnTokenize(ABody, Fields, cZnAmpersand);
    const auto Value = [&](std::string_view AName) {
        return TZnNetEncoding::URL().Decode(Fields.GetValue(AName));
    };
    return {.UserName = Value("userName"), .Password = Value("password")};
}

std::string BasicAuthorization(const LogonForm& AForm)
{
    const std::string Text = AForm.UserName + cZnColon + AForm.Password;
    return "Basic " +
           TZnNetEncoding::GetBase64ExEncoding().Encode(TZnEncoding::ConvertW(Text, cZnCodePageUTF8));
}

} // namespace Zn
