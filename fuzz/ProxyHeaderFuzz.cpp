// PROXY headers: the verdict doesn't depend on what follows, and a header that is whole is incomplete when
// cut.

#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "platform/httpapi/ProxyHeader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    using State = Zn::ProxyHeader::Result;
    const std::string_view Bytes(reinterpret_cast<const char*>(AData), ALength);
    const Zn::ProxyHeader Header = Zn::ReadProxyHeader(Bytes);
    if (Header.State != State::Complete)
        return 0;
    Zn::FuzzCheck(Header.Length <= ALength && Header.Length <= Zn::LongestProxyHeader, "within the bytes");
    const Zn::ProxyHeader Alone = Zn::ReadProxyHeader(Bytes.substr(0, Header.Length));
    Zn::FuzzCheck(Alone.State == State::Complete && Alone.Length == Header.Length, "alone it is the same");
    Zn::FuzzCheck(Zn::ReadProxyHeader(Bytes.substr(0, Header.Length - 1)).State == State::Incomplete,
                  "a byte less is incomplete");
    return 0;
}
