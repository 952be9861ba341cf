#include "uZnHTTPBase/UrlEncoding.h"

#include "common/Encoding.h"
#include "common/NetEncoding.h"
#include "common/Streams.h"

std::string ZnURLEncode(std::string_view AText)
{
    static constexpr TZnTextSet cUnsafe("!#$&'()*+,/:;=?@[]");
    return TZnNetEncoding::URL().Encode(AText, cUnsafe, {TURLEncoding::EncodePercent});
}

std::string ZnURLDecode(const AnsiString& AEncoded)
{
    return TZnNetEncoding::URL().Decode(AEncoded, {TURLEncoding::PlusAsSpaces});
}

void ZnURLDecode(TStream& AInput, TStream& AOutput)
{
    const std::string Text = ZnURLDecode(AnsiString(ZnStreamToAnsiString(AInput, cZnCodePageUTF8)));
    AOutput.WriteBuffer(Text.data(), static_cast<std::int64_t>(Text.size()));
}
