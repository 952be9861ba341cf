#include "platform/httpapi/HeaderNames.h"

#include <array>
#include <cstddef>

#include "platform/httpapi/Grammar.h"

namespace Zn
{

namespace
{

// By THTTP_HEADER_ID.
constexpr std::array<std::string_view, HttpHeaderRequestMaximum> RequestNames{"cache-control",
                                                                              "connection",
                                                                              "date",
                                                                              "keep-alive",
                                                                              "pragma",
                                                                              "trailer",
                                                                              "transfer-encoding",
                                                                              "upgrade",
                                                                              "via",
                                                                              "warning",
                                                                              "allow",
                                                                              "content-length",
                                                                              "content-type",
                                                                              "content-encoding",
                                                                              "content-language",
                                                                              "content-location",
                                                                              "content-md5",
                                                                              "content-range",
                                                                              "expires",
                                                                              "last-modified",
                                                                              "accept",
                                                                              "accept-charset",
                                                                              "accept-encoding",
                                                                              "accept-language",
                                                                              "authorization",
                                                                              "cookie",
                                                                              "expect",
                                                                              "from",
                                                                              "host",
                                                                              "if-match",
                                                                              "if-modified-since",
                                                                              "if-none-match",
                                                                              "if-range",
                                                                              "if-unmodified-since",
                                                                              "max-forwards",
                                                                              "proxy-authorization",
                                                                              "referer",
                                                                              "range",
                                                                              "te",
                                                                              "translate",
                                                                              "user-agent"};

constexpr std::size_t LongestName = 19;

// Length, first and last letter tell all the names apart; the factors spread them over the slots without a
// collision (looked for by the compiler, so that a new name can't break it unseen).
struct Hash
{
    unsigned First, Last;

    constexpr std::size_t operator()(std::string_view AName) const
    {
        const auto Low = [](char AByte) { return static_cast<unsigned>(AByte) | 0x20U; };
        return (static_cast<unsigned>(AName.size()) + Low(AName.front()) * First + Low(AName.back()) * Last) %
               256U;
    }
};

using SlotTable = std::array<std::int8_t, 256>;

constexpr bool Fill(SlotTable& ASlots, Hash AHash)
{
    ASlots.fill(-1);
    for (std::size_t Id = 0; Id < RequestNames.size(); ++Id) {
        std::int8_t& Slot = ASlots[AHash(RequestNames[Id])];
        if (Slot != -1)
            return false;
        Slot = static_cast<std::int8_t>(Id);
    }
    return true;
}

constexpr Hash FindHash()
{
    SlotTable Slots{};
    for (unsigned First = 1; First < 64; ++First)
        for (unsigned Last = 1; Last < 64; ++Last)
            if (Fill(Slots, Hash{First, Last}))
                return Hash{First, Last};
    return Hash{0, 0};
}

constexpr Hash NameHash = FindHash();
static_assert(NameHash.First != 0, "no factors keep the header names apart");

constexpr SlotTable Slots = [] {
    SlotTable Table{};
    Fill(Table, NameHash);
    return Table;
}();

} // namespace

std::int8_t RequestHeaderId(std::string_view AName)
{
    if (AName.empty() || AName.size() > LongestName)
        return -1;
    const std::int8_t Id = Slots[NameHash(AName)];
    if (Id < 0)
        return -1;
    const std::string_view Known = RequestNames[static_cast<std::uint8_t>(Id)];
    if (Known.size() != AName.size())
        return -1;
    // Setting the bit takes no other token character to a letter, a digit or "-".
    for (std::size_t At = 0; At < Known.size(); ++At)
        if ((AName[At] | 0x20) != Known[At])
            return -1;
    return Id;
}

THTTP_VERB VerbOf(std::string_view AMethod)
{
    if (AMethod == "GET")
        return HttpVerbGET;
    if (AMethod == "POST")
        return HttpVerbPOST;
    struct Named
    {
        std::string_view Method;
        THTTP_VERB Verb;
    };
    static constexpr std::array<Named, 15> Others{{{"HEAD", HttpVerbHEAD},
                                                   {"PUT", HttpVerbPUT},
                                                   {"DELETE", HttpVerbDELETE},
                                                   {"OPTIONS", HttpVerbOPTIONS},
                                                   {"TRACE", HttpVerbTRACE},
                                                   {"CONNECT", HttpVerbCONNECT},
                                                   {"TRACK", HttpVerbTRACK},
                                                   {"MOVE", HttpVerbMOVE},
                                                   {"COPY", HttpVerbCOPY},
                                                   {"PROPFIND", HttpVerbPROPFIND},
                                                   {"PROPPATCH", HttpVerbPROPPATCH},
                                                   {"MKCOL", HttpVerbMKCOL},
                                                   {"LOCK", HttpVerbLOCK},
                                                   {"UNLOCK", HttpVerbUNLOCK},
                                                   {"SEARCH", HttpVerbSEARCH}}};
    for (const Named& Each : Others)
        if (Each.Method == AMethod)
            return Each.Verb;
    return HttpVerbUnknown;
}

} // namespace Zn
