#include "uZnHTTPServer/BasicCredentials.h"

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/NetEncoding.h"
#include "common/Text.h"

namespace Zn
{

std::optional<BasicCredentials> ParseBasicCredentials(std::string_view ACredentials)
{
    std::string Bytes;
    try {
        Bytes = TZnNetEncoding::GetBase64ExEncoding().Decode(ACredentials);
    } catch (const EConvertError&) {
        return {};
    }
    const std::string Decoded = TZnEncoding::ConvertA(Bytes, cZnCodePageSystem);
    const std::string_view Text = ZnTrimView(Decoded);
    if (Text.empty())
        return {};
    const std::size_t Colon = Text.find(':');
    if (Colon == std::string_view::npos)
        return BasicCredentials{{}, std::string(Text)};
    return BasicCredentials{std::string(Text.substr(0, Colon)), std::string(Text.substr(Colon + 1))};
}

} // namespace Zn
