#include "uZnFirewall/OleCheck.h"

#include "common/System.h"

namespace
{

std::string TextOf(HRESULT AResult)
{
    const auto Code = static_cast<std::uint32_t>(AResult);
    switch (AResult) {
    case REGDB_E_CLASSNOTREG:
        return "Class not registered";
    case E_NOINTERFACE:
        return "No such interface supported";
    default:
        return Code >> 16 == 0x8007 ? SysErrorMessage(Code & 0xFFFF) : ZnFormat("OLE error %.8X", Code);
    }
}

} // namespace

void OleCheck(HRESULT AResult)
{
    if (AResult < 0)
        throw EOleSysError(TextOf(AResult), AResult);
}
