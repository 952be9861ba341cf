// The head of a response, line by line: whatever comes, the parts that are told stand in the text, and its
// challenges and its Location can be read.

#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "platform/httpclient/Challenges.h"
#include "platform/httpclient/ResponseHead.h"
#include "platform/httpclient/Url.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    using namespace Zn::HttpClient;
    std::string_view Text(reinterpret_cast<const char*>(AData), ALength);
    ResponseHead Head;
    bool Good = true;
    while (Good && !Text.empty()) {
        const std::string_view Line = Text.substr(0, Text.find('\n') + 1);
        Good = !Line.empty() && Head.AddLine(Line, {4096, 50}) == 0;
        Text.remove_prefix(Line.size());
    }
    Zn::FuzzCheck(Head.Raw().size() <= 4096, "the limit of bytes holds");
    const auto StandsInText = [&Head](std::string_view APart) {
        return APart.empty() || (APart.data() >= Head.Raw().data() &&
                                 APart.data() + APart.size() <= Head.Raw().data() + Head.Raw().size());
    };
    Zn::FuzzCheck(StandsInText(Head.Version()) && StandsInText(Head.Reason()),
                  "the status line is told from the text");
    const Challenge Asked = ReadChallenges(Head, "WWW-Authenticate", Basic | Digest);
    Zn::FuzzCheck((Asked.Best & ~Asked.Offered) == 0, "the best is one that is offered");
    if (const auto Location = Head.Find("Location")) {
        Zn::FuzzCheck(StandsInText(*Location), "a value is told from the text");
        const auto Next = ResolveLocation({{false, "host", 80}, "/a/b?c"}, *Location);
        Zn::FuzzCheck(!Next || (!Next->Origin.Host.empty() && Next->Target.starts_with('/') &&
                                Next->Target.find_first_of("\r\n ") == std::string::npos),
                      "a location that can be followed fits a request line");
    }
    return 0;
}
