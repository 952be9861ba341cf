#include "uZnAmazonClient/ErrorAnswer.h"

#include "common/Exceptions.h"
#include "common/Json.h"
#include "common/Text.h"
#include "uZnAmazonClient/XmlText.h"

namespace
{

void ReadXml(std::string_view ABody, TZnAmazonError& AResult)
{
    AResult.Code = Zn::XmlElement(ABody, "Code").value_or("");
    AResult.Message = Zn::XmlElement(ABody, "Message").value_or("");
}

void ReadJson(std::string_view ABody, TZnAmazonError& AResult)
{
    try {
        const auto Document = ZnCreateJSONDoc(std::string(ABody));
        // "com.example.v1#ValidationException"
        const std::string Type = ZnVarToStr(ZnGetJSONDocValue(Document, "$.__type"));
        AResult.Code = Type.substr(Type.find('#') + 1);
        AResult.Message = ZnVarToStr(ZnGetJSONDocValue(Document, "$.message"));
        if (AResult.Message.empty())
            AResult.Message = ZnVarToStr(ZnGetJSONDocValue(Document, "$.Message"));
    } catch (const Exception&) {
        // Neither form: the answer of some proxy, which nobody can read.
        AResult = {};
    }
}

} // namespace

TZnAmazonError ZnReadAmazonError(std::string_view ABody)
{
    constexpr std::size_t cMaxLength = 64 << 10; // longer ones come from somebody else
    TZnAmazonError Result;
    const std::string_view Body = ZnTrimView(ABody.substr(0, cMaxLength));
    if (Body.starts_with('<'))
        ReadXml(Body, Result);
    else if (Body.starts_with('{'))
        ReadJson(Body, Result);
    Result.IsClockWrong = Result.Code == "RequestTimeTooSkewed" || Result.Code == "RequestExpired" ||
                          ContainsText(Result.Message, "Signature expired") ||
                          ContainsText(Result.Message, "Signature not yet current");
    return Result;
}
