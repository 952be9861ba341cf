#pragma once

/// The service's three tables, and their form in the store's file. Values in, values out.
///
///     {
///       "urlReservations": [{"prefix": "http://+:80/app/", "securityDescriptor": "D:(A;;GX;;;WD)"}],
///       "ipListenList": ["127.0.0.1", "fe80::1%2"],
///       "sslBindings": [{"address": "0.0.0.0", "port": 443, "thumbprint": "<40 digits>", "store": "my",
///                        "appId": "<GUID>", "negotiateClientCertificate": true}]
///     }
///
/// Tables and the last three members of a binding may be absent. Members that this version doesn't know are
/// kept.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zn
{

struct UrlReservation
{
    std::string Prefix; // as it was given
    std::string SecurityDescriptor;
    std::string Others; // unknown members, as the text of a JSON object; mostly empty
};

struct SslBinding
{
    std::string Address; // "0.0.0.0" or "::"
    std::uint16_t Port = 0;
    std::string Thumbprint; // 40 hexadecimal digits in lower case
    std::string Store;      // empty: the one called "my"
    std::string AppId;      // "ccafdd84-764f-..."; says who made the binding; may be empty
    bool NegotiateClientCertificate = false;
    std::string Others;
};

struct ConfigurationTables
{
    std::vector<UrlReservation> UrlReservations;
    std::vector<std::string> ListenAddresses; // canonical texts
    std::vector<SslBinding> SslBindings;
    std::string Others;
};

/// nullopt for a text that isn't of the form above, or longer than 16 MiB.
std::optional<ConfigurationTables> ParseConfiguration(std::string_view AText);

/// Indented, for people to read.
std::string FormatConfiguration(const ConfigurationTables& ATables);

} // namespace Zn
