/// The readers of a service's answers and of credential files take any bytes. What they find stands in the
/// text, or is an entity of it; reading an escaped text gives it back.

#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "uZnAmazonClient/Credentials.h"
#include "uZnAmazonClient/ErrorAnswer.h"
#include "uZnAmazonClient/XmlText.h"

namespace
{

std::string Escaped(std::string_view AText)
{
    std::string Result;
    for (const char Char : AText)
        Result += Char == '&' ? "&amp;" : Char == '<' ? "&lt;" : Char == '>' ? "&gt;" : std::string(1, Char);
    return Result;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Text(reinterpret_cast<const char*>(AData), ALength);
    ZnReadAmazonError(Text);
    Zn::FuzzCheck(Zn::XmlUnescaped(Text).size() <= ALength, "an entity is longer than its character");
    std::size_t Total = 0;
    Zn::ForEachXmlElement(Text, "Key", [&](std::string_view AContent) { Total += AContent.size() + 6; });
    Zn::FuzzCheck(Total <= ALength, "elements stand behind one another");

    const auto Again = Zn::XmlElement("<Error><Code>" + Escaped(Text) + "</Code></Error>", "Code");
    Zn::FuzzCheck(Again && *Again == Text, "an escaped text reads back");

    TZnAmazonCredentials Found;
    Zn::ReadProfile(Text, "default", Found);
    Zn::FuzzCheck(Text.find(Found.AccessKey) != Text.npos && Text.find(Found.AccessKeyID) != Text.npos,
                  "a key is a part of the file");
    return 0;
}
