#include "uZnHTTPServer/TrustedProxies.h"

#include <span>

#include "common/Exceptions.h"
#include "common/Text.h"
#include "uZnHTTPServer/ForwardedHops.h"

namespace Zn
{
namespace
{

/// All fields of the name as one list (RFC 9110, 5.3); empty without one.
std::string ListOf(const THTTP_REQUEST& ARequest, std::string_view AName)
{
    std::string Result;
    for (const THTTP_UNKNOWN_HEADER& Each :
         std::span(ARequest.Headers.pUnknownHeaders, ARequest.Headers.UnknownHeaderCount))
        if (SameText({Each.pName, Each.NameLength}, AName))
            Result.append(Result.empty() ? "" : ", ").append(Each.pRawValue, Each.RawValueLength);
    return Result;
}

std::optional<ForwardedHops> HopsOf(const THTTP_REQUEST& ARequest, TZnForwardedFields AFields)
{
    if (AFields == ffForwarded) {
        const std::string Field = ListOf(ARequest, "Forwarded");
        return Field.empty() ? std::nullopt : ReadForwarded(Field);
    }
    return ForwardedHops{ReadForwardedList(ListOf(ARequest, "X-Forwarded-For")),
                         ReadForwardedList(ListOf(ARequest, "X-Forwarded-Proto")),
                         ReadForwardedList(ListOf(ARequest, "X-Forwarded-Host"))};
}

} // namespace

TrustedProxies::TrustedProxies(const std::vector<std::string>& ARanges)
{
    for (const std::string& Each : ARanges) {
        const auto Range = AddressRange::Parse(Each);
        if (!Range)
            throw EInvalidArgument("\"" + Each + "\" is no address and no range of addresses");
        FRanges.push_back(*Range);
        FText.append(FText.empty() ? "" : " ").append(Each);
    }
}

void TrustedProxies::Apply(TZnForwardedFields AFields, THTTP_REQUEST& ARequest,
                           ForwardedOrigin& AOrigin) const
{
    AOrigin = {};
    AOrigin.IsFromProxy = Contains(FRanges, ARequest.Address.pRemoteAddress);
    if (!AOrigin.IsFromProxy)
        return;
    const auto Hops = HopsOf(ARequest, AFields);
    if (!Hops)
        return;
    ForwardedClient Client = FindClient(*Hops, FRanges);
    AOrigin.Proto = std::move(Client.Proto);
    AOrigin.Host = std::move(Client.Host);
    if (!Client.Address)
        return;
    AOrigin.Client = *Client.Address;
    ARequest.Address.pRemoteAddress = AOrigin.Client.Get();
}

} // namespace Zn
