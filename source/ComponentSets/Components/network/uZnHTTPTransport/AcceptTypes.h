#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "uZnHTTPTransport/PlatformText.h"

namespace Zn
{

/// Media types with ";" between them, as a function set takes them: texts, and nullptr behind the last. "*/*"
/// alone for an empty text.
class AcceptTypes
{
public:
    explicit AcceptTypes(std::string_view ATypes);

    const char16_t* const* Pointers() const;

private:
    std::vector<std::unique_ptr<PlatformText>> FTexts;
    std::vector<const char16_t*> FPointers;
};

} // namespace Zn
