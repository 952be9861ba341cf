#include "uZnHTTPTransport/AcceptTypes.h"

#include <array>
#include <string>

#include "common/Text.h"

Zn::AcceptTypes::AcceptTypes(std::string_view ATypes)
{
    if (ATypes.empty())
        return;
    for (const std::string& Each : ZnTokenize(ATypes, cZnSemiColon))
        FTexts.push_back(std::make_unique<PlatformText>(Each));
    for (const auto& Each : FTexts)
        FPointers.push_back(Each->Text());
    FPointers.push_back(nullptr);
}

const char16_t* const* Zn::AcceptTypes::Pointers() const
{
    static constexpr std::array<const char16_t*, 2> cAny{u"*/*", nullptr};
    return FPointers.empty() ? cAny.data() : FPointers.data();
}
