#include "uZnAmazonClient/DefaultClient.h"

#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

std::unique_ptr<TComponent> Zn::MakeDefaultClient()
{
    auto Result = std::make_unique<TZnWinINetClient>(nullptr);
    Result->SetDisableCache(true);
    Result->SetRedirectPolicy(rdpNever);
    return Result;
}

void Zn::LimitProtocols(TComponent& AClient)
{
    if (auto* const Client = dynamic_cast<TZnWinHTTPClient*>(&AClient))
        Client->GetWinHTTPSession().SetSecureProtocols({sprotTLS1_1, sprotTLS1_2});
}
