#include <cstdio>

#include "common/Streams.h"
#include "tools/zn/Commands.h"
#include "tools/zn/amazon/Amazon.h"
#include "uZnAmazonClient.h"

namespace Zn
{

int CallAmazonService(const TAmazonAccount& AAccount, const std::string& AService, const std::string& ATarget,
                      const std::string& ABody)
{
    return WithAmazonClient("zn aws", AAccount, AService, [&](TZnAmazonClient& AClient) {
        std::string Answer;
        if (ABody.starts_with('@')) {
            TFileStream File(ABody.substr(1), fmOpenRead);
            Answer = AClient.Execute(ATarget, httpPOST, &File);
        } else {
            Answer = AClient.Execute(ATarget, httpPOST, ABody);
        }
        std::printf("%s\n", Answer.c_str());
        return cExitOk;
    });
}

} // namespace Zn
