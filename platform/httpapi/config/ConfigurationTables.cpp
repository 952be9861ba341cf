#include "platform/httpapi/config/ConfigurationTables.h"

#include <limits>

#include <nlohmann/json.hpp>

#include "platform/httpapi/Endpoint.h"
#include "platform/httpapi/config/CertificateStore.h"

namespace Zn
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr std::size_t MaxLength = 16 << 20;
constexpr int MaxDepth = 64; // writing goes down by recursion

struct Malformed
{
};

void Require(bool ACondition)
{
    if (!ACondition)
        throw Malformed{};
}

/// Takes a member out of its object, so that in the end the unknown ones are left. Absent: ADefault.
template <class T>
T Take(Json& AObject, const char* AName, T ADefault)
{
    const auto Found = AObject.find(AName);
    if (Found == AObject.end())
        return ADefault;
    if constexpr (std::is_same_v<T, bool>)
        Require(Found->is_boolean());
    else if constexpr (std::is_same_v<T, std::string>)
        Require(Found->is_string());
    else
        Require(Found->is_array());
    T Value = Found->get<T>();
    AObject.erase(AName);
    return Value;
}

std::string TakeText(Json& AObject, const char* AName)
{
    auto Value = Take<std::string>(AObject, AName, {});
    Require(!Value.empty());
    return Value;
}

std::uint16_t TakePort(Json& AObject, const char* AName)
{
    const auto Found = AObject.find(AName);
    Require(Found != AObject.end() && Found->is_number_unsigned());
    const auto Value = Found->get<std::uint64_t>();
    Require(Value > 0 && Value <= std::numeric_limits<std::uint16_t>::max());
    AObject.erase(AName);
    return static_cast<std::uint16_t>(Value);
}

std::string TakeOthers(const Json& AObject)
{
    return AObject.empty() ? std::string() : AObject.dump();
}

UrlReservation ReadReservation(Json& AEntry)
{
    Require(AEntry.is_object());
    UrlReservation Result;
    Result.Prefix = TakeText(AEntry, "prefix");
    Result.SecurityDescriptor = TakeText(AEntry, "securityDescriptor");
    Result.Others = TakeOthers(AEntry);
    return Result;
}

std::string ReadAddress(const Json& AEntry)
{
    Require(AEntry.is_string());
    const auto Endpoint = EndpointFromText(AEntry.get_ref<const std::string&>(), 0);
    Require(Endpoint.has_value());
    return AddressText(*Endpoint);
}

SslBinding ReadBinding(Json& AEntry)
{
    Require(AEntry.is_object());
    SslBinding Result;
    Result.Address = TakeText(AEntry, "address");
    Require(EndpointFromText(Result.Address, 0).has_value());
    Result.Port = TakePort(AEntry, "port");
    Result.Thumbprint = TakeText(AEntry, "thumbprint");
    Require(IsThumbprint(Result.Thumbprint));
    Result.Store = Take<std::string>(AEntry, "store", {});
    Require(Result.Store.empty() || IsStoreName(Result.Store));
    Result.AppId = Take<std::string>(AEntry, "appId", {});
    Result.NegotiateClientCertificate = Take(AEntry, "negotiateClientCertificate", false);
    Result.Others = TakeOthers(AEntry);
    return Result;
}

ConfigurationTables ReadTables(Json ADocument)
{
    Require(ADocument.is_object());
    ConfigurationTables Result;
    for (Json& Each : Take(ADocument, "urlReservations", Json::array()))
        Result.UrlReservations.push_back(ReadReservation(Each));
    for (const Json& Each : Take(ADocument, "ipListenList", Json::array()))
        Result.ListenAddresses.push_back(ReadAddress(Each));
    for (Json& Each : Take(ADocument, "sslBindings", Json::array()))
        Result.SslBindings.push_back(ReadBinding(Each));
    Result.Others = TakeOthers(ADocument);
    return Result;
}

void Append(Json& AObject, const std::string& AOthers)
{
    if (!AOthers.empty())
        AObject.update(Json::parse(AOthers));
}

Json ToJson(const UrlReservation& AEntry)
{
    Json Result{{"prefix", AEntry.Prefix}, {"securityDescriptor", AEntry.SecurityDescriptor}};
    Append(Result, AEntry.Others);
    return Result;
}

Json ToJson(const SslBinding& AEntry)
{
    Json Result{{"address", AEntry.Address}, {"port", AEntry.Port}, {"thumbprint", AEntry.Thumbprint}};
    if (!AEntry.Store.empty())
        Result["store"] = AEntry.Store;
    if (!AEntry.AppId.empty())
        Result["appId"] = AEntry.AppId;
    if (AEntry.NegotiateClientCertificate)
        Result["negotiateClientCertificate"] = true;
    Append(Result, AEntry.Others);
    return Result;
}

template <class T>
Json ToJson(const std::vector<T>& AEntries)
{
    Json Result = Json::array();
    for (const T& Each : AEntries)
        Result.push_back(ToJson(Each));
    return Result;
}

} // namespace

std::optional<ConfigurationTables> ParseConfiguration(std::string_view AText)
{
    if (AText.size() > MaxLength)
        return std::nullopt;
    const auto NotTooDeep = [](int ADepth, Json::parse_event_t, Json&) {
        Require(ADepth <= MaxDepth);
        return true;
    };
    try {
        return ReadTables(Json::parse(AText, NotTooDeep));
    } catch (const Malformed&) {
        return std::nullopt;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

std::string FormatConfiguration(const ConfigurationTables& ATables)
{
    Json Document = Json::object();
    Document["urlReservations"] = ToJson(ATables.UrlReservations);
    Document["ipListenList"] = ATables.ListenAddresses;
    Document["sslBindings"] = ToJson(ATables.SslBindings);
    Append(Document, ATables.Others);
    return Document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace Zn
