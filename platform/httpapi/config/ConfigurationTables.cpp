#include "platform/httpapi/config/ConfigurationTables.h"

#include <limits>

#include "platform/httpapi/Endpoint.h"
#include "platform/httpapi/config/CertificateStore.h"
#include "platform/state/JsonMembers.h"

namespace Zn
{
namespace
{

constexpr std::size_t MaxLength = 16 << 20;

std::uint16_t TakePort(StateJson& AObject, const char* AName)
{
    const auto Found = AObject.find(AName);
    RequireState(Found != AObject.end() && Found->is_number_unsigned());
    const auto Value = Found->get<std::uint64_t>();
    RequireState(Value > 0 && Value <= std::numeric_limits<std::uint16_t>::max());
    AObject.erase(AName);
    return static_cast<std::uint16_t>(Value);
}

UrlReservation ReadReservation(StateJson& AEntry)
{
    RequireState(AEntry.is_object());
    UrlReservation Result;
    Result.Prefix = TakeText(AEntry, "prefix");
    Result.SecurityDescriptor = TakeText(AEntry, "securityDescriptor");
    Result.Others = OtherMembers(AEntry);
    return Result;
}

std::string ReadAddress(const StateJson& AEntry)
{
    RequireState(AEntry.is_string());
    const auto Endpoint = EndpointFromText(AEntry.get_ref<const std::string&>(), 0);
    RequireState(Endpoint.has_value());
    return AddressText(*Endpoint);
}

SslBinding ReadBinding(StateJson& AEntry)
{
    RequireState(AEntry.is_object());
    SslBinding Result;
    Result.Address = TakeText(AEntry, "address");
    RequireState(EndpointFromText(Result.Address, 0).has_value());
    Result.Port = TakePort(AEntry, "port");
    Result.Thumbprint = TakeText(AEntry, "thumbprint");
    RequireState(IsThumbprint(Result.Thumbprint));
    Result.Store = TakeMember<std::string>(AEntry, "store", {});
    RequireState(Result.Store.empty() || IsStoreName(Result.Store));
    Result.AppId = TakeMember<std::string>(AEntry, "appId", {});
    Result.NegotiateClientCertificate = TakeMember(AEntry, "negotiateClientCertificate", false);
    Result.Others = OtherMembers(AEntry);
    return Result;
}

ConfigurationTables ReadTables(StateJson ADocument)
{
    RequireState(ADocument.is_object());
    ConfigurationTables Result;
    for (StateJson& Each : TakeMember(ADocument, "urlReservations", StateJson::array()))
        Result.UrlReservations.push_back(ReadReservation(Each));
    for (const StateJson& Each : TakeMember(ADocument, "ipListenList", StateJson::array()))
        Result.ListenAddresses.push_back(ReadAddress(Each));
    for (StateJson& Each : TakeMember(ADocument, "sslBindings", StateJson::array()))
        Result.SslBindings.push_back(ReadBinding(Each));
    Result.Others = OtherMembers(ADocument);
    return Result;
}

StateJson ToJson(const UrlReservation& AEntry)
{
    StateJson Result{{"prefix", AEntry.Prefix}, {"securityDescriptor", AEntry.SecurityDescriptor}};
    AppendOthers(Result, AEntry.Others);
    return Result;
}

StateJson ToJson(const SslBinding& AEntry)
{
    StateJson Result{{"address", AEntry.Address}, {"port", AEntry.Port}, {"thumbprint", AEntry.Thumbprint}};
    if (!AEntry.Store.empty())
        Result["store"] = AEntry.Store;
    if (!AEntry.AppId.empty())
        Result["appId"] = AEntry.AppId;
    if (AEntry.NegotiateClientCertificate)
        Result["negotiateClientCertificate"] = true;
    AppendOthers(Result, AEntry.Others);
    return Result;
}

} // namespace

std::optional<ConfigurationTables> ParseConfiguration(std::string_view AText)
{
    if (AText.size() > MaxLength)
        return std::nullopt;
    std::optional<ConfigurationTables> Result;
    const auto Read = [&](StateJson ADocument) { Result = ReadTables(std::move(ADocument)); };
    return ReadStateJson(AText, Read) ? Result : std::nullopt;
}

std::string FormatConfiguration(const ConfigurationTables& ATables)
{
    StateJson Document = StateJson::object();
    Document["urlReservations"] = ToJsonArray(ATables.UrlReservations, ToJson);
    Document["ipListenList"] = ATables.ListenAddresses;
    Document["sslBindings"] = ToJsonArray(ATables.SslBindings, ToJson);
    AppendOthers(Document, ATables.Others);
    return WriteStateJson(Document);
}

} // namespace Zn
