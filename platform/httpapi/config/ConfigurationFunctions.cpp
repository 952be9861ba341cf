// The three operations on the service's tables: records of the platform in and out, the store in between.

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Endpoint.h"
#include "platform/httpapi/Guarded.h"
#include "platform/httpapi/Httpapi.h"
#include "platform/httpapi/UrlPrefix.h"
#include "platform/httpapi/config/CertificateStore.h"
#include "platform/httpapi/config/ConfigurationStore.h"
#include "platform/text/Unicode.h"

namespace Zn
{
namespace
{

constexpr std::size_t MaxTextLength = 32768; // UTF-16 units; of any text in a record
constexpr std::size_t ThumbprintLength = 20; // bytes of SHA-1

template <class T>
const T* Record(const void* AInformation, std::uint32_t ALength)
{
    return AInformation != nullptr && ALength >= sizeof(T) ? static_cast<const T*>(AInformation) : nullptr;
}

/// Empty for nullptr and for a text longer than any that makes sense.
std::string TextOf(const char16_t* AText)
{
    if (AText == nullptr)
        return {};
    std::size_t Length = 0;
    while (Length <= MaxTextLength && AText[Length] != 0)
        ++Length;
    return Length <= MaxTextLength ? Utf8FromUtf16({AText, Length}) : std::string();
}

std::string HexText(std::span<const std::uint8_t> ABytes)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string Result;
    for (const std::uint8_t Each : ABytes) {
        Result += Digits[Each >> 4];
        Result += Digits[Each & 0x0F];
    }
    return Result;
}

/// Bytes of the hexadecimal digits in a text; what else stands there ("-" in a GUID) is passed over.
template <std::size_t Count>
std::array<std::uint8_t, Count> HexBytes(const std::string& AText)
{
    std::array<std::uint8_t, Count> Result{};
    std::size_t Digit = 0;
    for (const char Each : AText) {
        const int Value = Each >= '0' && Each <= '9'   ? Each - '0'
                          : Each >= 'a' && Each <= 'f' ? Each - 'a' + 10
                          : Each >= 'A' && Each <= 'F' ? Each - 'A' + 10
                                                       : -1;
        if (Value < 0 || Digit >= 2 * Count)
            continue;
        Result[Digit / 2] = static_cast<std::uint8_t>(Result[Digit / 2] << 4 | Value);
        ++Digit;
    }
    return Result;
}

std::string GuidText(const std::array<std::uint8_t, 16>& AGuid)
{
    if (AGuid == std::array<std::uint8_t, 16>{})
        return {};
    std::string Result = HexText(AGuid);
    for (const std::size_t At : {8, 13, 18, 23})
        Result.insert(At, 1, '-');
    return Result;
}

// --- What a query gives: a record, and what it points at behind it ---------------------------------

/// Lays a record and its parts into the caller's buffer. Every part begins at a multiple of 8, except that
/// texts follow each other closely. Where the buffer is too small only the length is counted.
class Answer
{
public:
    Answer(void* AOutput, std::uint32_t ALength, std::size_t ARecordLength)
        : FOutput(static_cast<char*>(AOutput)), FRoom(AOutput != nullptr ? ALength : 0), FUsed(ARecordLength)
    {
    }

    template <class T>
    T* Put(const T* AData, std::size_t ACount)
    {
        FUsed = (FUsed + alignof(T) - 1) / alignof(T) * alignof(T);
        char* const Place = FOutput + FUsed;
        FUsed += ACount * sizeof(T);
        if (FUsed > FRoom)
            return nullptr;
        std::memcpy(Place, AData, ACount * sizeof(T));
        return reinterpret_cast<T*>(Place);
    }

    char16_t* Put(const std::string& AText)
    {
        const std::u16string Wide = Utf16FromUtf8(AText);
        return Put(Wide.c_str(), Wide.size() + 1);
    }

    /// 0, or 122 with the length that is wanted.
    template <class T>
    std::uint32_t Finish(const T& ARecord, std::uint32_t* AReturnLength)
    {
        *AReturnLength = static_cast<std::uint32_t>(FUsed);
        if (FUsed > FRoom)
            return ERROR_INSUFFICIENT_BUFFER;
        std::memcpy(FOutput, &ARecord, sizeof ARecord);
        return NO_ERROR;
    }

private:
    char* FOutput;
    std::size_t FRoom;
    std::size_t FUsed;
};

std::uint32_t Write(const UrlReservation& AEntry, void* AOutput, std::uint32_t ALength,
                    std::uint32_t* AReturnLength)
{
    THTTP_SERVICE_CONFIG_URLACL_SET Result{};
    Answer Out(AOutput, ALength, sizeof Result);
    Result.KeyDesc.pUrlPrefix = Out.Put(AEntry.Prefix);
    Result.ParamDesc.pStringSecurityDescriptor = Out.Put(AEntry.SecurityDescriptor);
    return Out.Finish(Result, AReturnLength);
}

std::uint32_t Write(const SslBinding& AEntry, void* AOutput, std::uint32_t ALength,
                    std::uint32_t* AReturnLength)
{
    const auto Address = EndpointFromText(AEntry.Address, AEntry.Port);
    if (!Address)
        return ERROR_INVALID_DATA;
    THTTP_SERVICE_CONFIG_SSL_SET Result{};
    Answer Out(AOutput, ALength, sizeof Result);
    Result.KeyDesc.pIpPort = reinterpret_cast<const sockaddr*>(Out.Put(&Address->Address, 1));
    Result.ParamDesc.SslHashLength = ThumbprintLength;
    Result.ParamDesc.pSslHash =
        Out.Put(HexBytes<ThumbprintLength>(AEntry.Thumbprint).data(), ThumbprintLength);
    Result.ParamDesc.AppId = HexBytes<16>(AEntry.AppId);
    if (!AEntry.Store.empty())
        Result.ParamDesc.pSslCertStoreName = Out.Put(AEntry.Store);
    if (AEntry.NegotiateClientCertificate)
        Result.ParamDesc.DefaultFlags = HTTP_SERVICE_CONFIG_SSL_FLAG_NEGOTIATE_CLIENT_CERT;
    return Out.Finish(Result, AReturnLength);
}

std::uint32_t QueryListenAddresses(void* AOutput, std::uint32_t ALength, std::uint32_t* AReturnLength)
{
    ConfigurationTables Tables;
    if (const std::uint32_t Result = ConfigurationStore::Load(Tables); Result != NO_ERROR)
        return Result;
    if (Tables.ListenAddresses.empty())
        return ERROR_FILE_NOT_FOUND;
    std::vector<sockaddr_storage> Slots;
    for (const std::string& Each : Tables.ListenAddresses)
        if (const auto Address = EndpointFromText(Each, 0))
            Slots.push_back(Address->Address);
    Answer Out(AOutput, ALength, offsetof(THTTP_SERVICE_CONFIG_IP_LISTEN_QUERY, AddrList));
    Out.Put(Slots.data(), Slots.size());
    return Out.Finish(static_cast<std::uint32_t>(Slots.size()), AReturnLength);
}

/// The entry that the query is for: AMatches tells the exact one, the token the others.
template <class TQuery, class T, class TMatches>
std::uint32_t QueryTable(const TQuery* AQuery, const std::vector<T>& AEntries, TMatches AMatches,
                         void* AOutput, std::uint32_t ALength, std::uint32_t* AReturnLength)
{
    switch (AQuery->QueryDesc) {
    case HttpServiceConfigQueryExact: {
        const auto Found = std::find_if(AEntries.begin(), AEntries.end(), AMatches);
        return Found != AEntries.end() ? Write(*Found, AOutput, ALength, AReturnLength)
                                       : std::uint32_t{ERROR_FILE_NOT_FOUND};
    }
    case HttpServiceConfigQueryNext:
        return AQuery->dwToken < AEntries.size()
                   ? Write(AEntries[AQuery->dwToken], AOutput, ALength, AReturnLength)
                   : std::uint32_t{ERROR_NO_MORE_ITEMS};
    default:
        return ERROR_INVALID_PARAMETER;
    }
}

// --- Keys: what makes two entries the same ---------------------------------------------------------

/// Two spellings of one prefix are one reservation.
auto SamePrefix(const std::string& APrefix)
{
    return [Wanted = ParseUrlPrefix(APrefix)](const UrlReservation& AEntry) {
        return Wanted && ParseUrlPrefix(AEntry.Prefix) == Wanted;
    };
}

/// The port alone: every binding is for all addresses.
auto SamePort(std::uint16_t APort)
{
    return [APort](const SslBinding& AEntry) { return AEntry.Port == APort; };
}

/// The port that a key of the SSL table names, or a number why it can't be one.
std::uint32_t PortOfKey(const sockaddr* AAddress, Endpoint& AEndpoint)
{
    const auto Read = EndpointFromAddress(AAddress);
    if (!Read || PortOf(*Read) == 0)
        return ERROR_INVALID_PARAMETER;
    AEndpoint = *Read;
    const std::string Text = AddressText(AEndpoint);
    return Text == "0.0.0.0" || Text == "::" ? NO_ERROR : ERROR_NOT_SUPPORTED;
}

// --- Changes ---------------------------------------------------------------------------------------

template <class T, class TMatches>
std::uint32_t AddEntry(std::vector<T>& AEntries, T AEntry, TMatches AMatches)
{
    if (std::find_if(AEntries.begin(), AEntries.end(), AMatches) != AEntries.end())
        return ERROR_ALREADY_EXISTS;
    AEntries.push_back(std::move(AEntry));
    return NO_ERROR;
}

template <class T, class TMatches>
std::uint32_t RemoveEntry(std::vector<T>& AEntries, TMatches AMatches)
{
    const auto Found = std::find_if(AEntries.begin(), AEntries.end(), AMatches);
    if (Found == AEntries.end())
        return ERROR_FILE_NOT_FOUND;
    AEntries.erase(Found);
    return NO_ERROR;
}

std::uint32_t SetReservation(const THTTP_SERVICE_CONFIG_URLACL_SET& ARecord)
{
    UrlReservation Entry{
        TextOf(ARecord.KeyDesc.pUrlPrefix), TextOf(ARecord.ParamDesc.pStringSecurityDescriptor), {}};
    if (Entry.SecurityDescriptor.empty() || !ParseUrlPrefix(Entry.Prefix))
        return ERROR_INVALID_PARAMETER;
    return ConfigurationStore::Change([&](ConfigurationTables& ATables) {
        return AddEntry(ATables.UrlReservations, Entry, SamePrefix(Entry.Prefix));
    });
}

std::uint32_t DeleteReservation(const THTTP_SERVICE_CONFIG_URLACL_SET& ARecord)
{
    const std::string Prefix = TextOf(ARecord.KeyDesc.pUrlPrefix);
    if (!ParseUrlPrefix(Prefix))
        return ERROR_INVALID_PARAMETER;
    return ConfigurationStore::Change([&](ConfigurationTables& ATables) {
        return RemoveEntry(ATables.UrlReservations, SamePrefix(Prefix));
    });
}

std::uint32_t ChangeListenAddresses(const THTTP_SERVICE_CONFIG_IP_LISTEN_PARAM& ARecord, bool AAdd)
{
    const auto Address = EndpointFromAddress(ARecord.pAddress, ARecord.AddrLength);
    if (!Address)
        return ERROR_INVALID_PARAMETER;
    const std::string Text = AddressText(*Address);
    const auto Same = [&](const std::string& AEntry) { return AEntry == Text; };
    return ConfigurationStore::Change([&](ConfigurationTables& ATables) {
        return AAdd ? AddEntry(ATables.ListenAddresses, Text, Same)
                    : RemoveEntry(ATables.ListenAddresses, Same);
    });
}

std::uint32_t SetBinding(const THTTP_SERVICE_CONFIG_SSL_SET& ARecord)
{
    const THTTP_SERVICE_CONFIG_SSL_PARAM& Param = ARecord.ParamDesc;
    Endpoint Key;
    if (const std::uint32_t Result = PortOfKey(ARecord.KeyDesc.pIpPort, Key); Result != NO_ERROR)
        return Result;
    if (Param.pSslHash == nullptr || Param.SslHashLength != ThumbprintLength)
        return ERROR_INVALID_PARAMETER;
    if (Param.CertCheckMode != 0 || Param.RevocationFreshnessTime != 0 ||
        Param.RevocationUrlRetrievalTimeout != 0 || Param.pSslCtlIdentifier != nullptr ||
        Param.pSslCtlStoreName != nullptr ||
        (Param.DefaultFlags & ~HTTP_SERVICE_CONFIG_SSL_FLAG_NEGOTIATE_CLIENT_CERT) != 0)
        return ERROR_NOT_SUPPORTED; // rather than a binding that promises what nobody does
    SslBinding Entry;
    Entry.Address = AddressText(Key);
    Entry.Port = PortOf(Key);
    Entry.Thumbprint = HexText({static_cast<const std::uint8_t*>(Param.pSslHash), ThumbprintLength});
    Entry.Store = TextOf(Param.pSslCertStoreName);
    Entry.AppId = GuidText(Param.AppId);
    Entry.NegotiateClientCertificate = Param.DefaultFlags != 0;
    PemFiles Unused;
    if (const std::uint32_t Result = LoadCertificate(Entry.Store, Entry.Thumbprint, Unused);
        Result != NO_ERROR)
        return Result;
    return ConfigurationStore::Change([&](ConfigurationTables& ATables) {
        return AddEntry(ATables.SslBindings, Entry, SamePort(Entry.Port));
    });
}

std::uint32_t DeleteBinding(const THTTP_SERVICE_CONFIG_SSL_SET& ARecord)
{
    Endpoint Key;
    if (const std::uint32_t Result = PortOfKey(ARecord.KeyDesc.pIpPort, Key); Result != NO_ERROR)
        return Result;
    return ConfigurationStore::Change([&](ConfigurationTables& ATables) {
        return RemoveEntry(ATables.SslBindings, SamePort(PortOf(Key)));
    });
}

/// Hands the record to the operation of its table.
template <class TListen, class TSsl, class TUrl>
std::uint32_t Dispatch(THandle AService, THTTP_SERVICE_CONFIG_ID AId, const void* AInformation,
                       std::uint32_t ALength, const OVERLAPPED* AOverlapped, TListen AListen, TSsl ASsl,
                       TUrl AUrl)
{
    const auto Run = [&]<class T>(const T* ARecord, auto& AWork) -> std::uint32_t {
        return ARecord != nullptr ? AWork(*ARecord) : std::uint32_t{ERROR_INVALID_PARAMETER};
    };
    if (AService != 0 || AOverlapped != nullptr)
        return ERROR_INVALID_PARAMETER;
    return Guarded([&]() -> std::uint32_t {
        switch (AId) {
        case HttpServiceConfigIPListenList:
            return Run(Record<THTTP_SERVICE_CONFIG_IP_LISTEN_PARAM>(AInformation, ALength), AListen);
        case HttpServiceConfigSSLCertInfo:
            return Run(Record<THTTP_SERVICE_CONFIG_SSL_SET>(AInformation, ALength), ASsl);
        case HttpServiceConfigUrlAclInfo:
            return Run(Record<THTTP_SERVICE_CONFIG_URLACL_SET>(AInformation, ALength), AUrl);
        }
        return ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t QueryBindings(const THTTP_SERVICE_CONFIG_SSL_QUERY& AQuery, void* AOutput,
                            std::uint32_t ALength, std::uint32_t* AReturnLength)
{
    ConfigurationTables Tables;
    if (const std::uint32_t Result = ConfigurationStore::Load(Tables); Result != NO_ERROR)
        return Result;
    Endpoint Key;
    if (AQuery.QueryDesc == HttpServiceConfigQueryExact)
        if (const std::uint32_t Result = PortOfKey(AQuery.KeyDesc.pIpPort, Key); Result != NO_ERROR)
            return Result;
    return QueryTable(&AQuery, Tables.SslBindings, SamePort(PortOf(Key)), AOutput, ALength, AReturnLength);
}

std::uint32_t QueryReservations(const THTTP_SERVICE_CONFIG_URLACL_QUERY& AQuery, void* AOutput,
                                std::uint32_t ALength, std::uint32_t* AReturnLength)
{
    ConfigurationTables Tables;
    if (const std::uint32_t Result = ConfigurationStore::Load(Tables); Result != NO_ERROR)
        return Result;
    return QueryTable(&AQuery, Tables.UrlReservations, SamePrefix(TextOf(AQuery.KeyDesc.pUrlPrefix)), AOutput,
                      ALength, AReturnLength);
}

} // namespace
} // namespace Zn

std::uint32_t HttpQueryServiceConfiguration(THandle AService, THTTP_SERVICE_CONFIG_ID AId, const void* AInput,
                                            std::uint32_t AInputLength, void* AOutput,
                                            std::uint32_t AOutputLength, std::uint32_t* AReturnLength,
                                            OVERLAPPED* AOverlapped)
{
    if (AService != 0 || AReturnLength == nullptr || AOverlapped != nullptr)
        return ERROR_INVALID_PARAMETER;
    *AReturnLength = 0;
    return Zn::Guarded([&]() -> std::uint32_t {
        switch (AId) {
        case HttpServiceConfigIPListenList:
            return AInput == nullptr ? Zn::QueryListenAddresses(AOutput, AOutputLength, AReturnLength)
                                     : std::uint32_t{ERROR_INVALID_PARAMETER};
        case HttpServiceConfigSSLCertInfo:
            if (const auto* Query = Zn::Record<THTTP_SERVICE_CONFIG_SSL_QUERY>(AInput, AInputLength))
                return Zn::QueryBindings(*Query, AOutput, AOutputLength, AReturnLength);
            break;
        case HttpServiceConfigUrlAclInfo:
            if (const auto* Query = Zn::Record<THTTP_SERVICE_CONFIG_URLACL_QUERY>(AInput, AInputLength))
                return Zn::QueryReservations(*Query, AOutput, AOutputLength, AReturnLength);
            break;
        }
        return ERROR_INVALID_PARAMETER;
    });
}

std::uint32_t HttpSetServiceConfiguration(THandle AService, THTTP_SERVICE_CONFIG_ID AId,
                                          const void* AInformation, std::uint32_t ALength,
                                          OVERLAPPED* AOverlapped)
{
    const auto AddAddress = [](const auto& ARecord) { return Zn::ChangeListenAddresses(ARecord, true); };
    return Zn::Dispatch(AService, AId, AInformation, ALength, AOverlapped, AddAddress, Zn::SetBinding,
                        Zn::SetReservation);
}

std::uint32_t HttpDeleteServiceConfiguration(THandle AService, THTTP_SERVICE_CONFIG_ID AId,
                                             const void* AInformation, std::uint32_t ALength,
                                             OVERLAPPED* AOverlapped)
{
    const auto RemoveAddress = [](const auto& ARecord) { return Zn::ChangeListenAddresses(ARecord, false); };
    return Zn::Dispatch(AService, AId, AInformation, ALength, AOverlapped, RemoveAddress, Zn::DeleteBinding,
                        Zn::DeleteReservation);
}
