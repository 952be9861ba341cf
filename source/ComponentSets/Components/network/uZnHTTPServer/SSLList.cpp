#include <algorithm>

#include "common/Encoding.h"
#include "common/NetEncoding.h"
#include "platform/iphelper/Addresses.h"
#include "uZnHTTPServer/ConfigurationLists.h"
#include "uZnHTTPServer/ConfigurationQuery.h"
#include "uZnHTTPServer/Server.h"
#include "uZnIPHelper.h"

namespace
{

constexpr std::size_t cShortString = 255;
constexpr const char* cDefaultStore = "my";
constexpr const char* cCertificateHint = "The most common reasons for this error are: \r\n"
                                         " - The specified certificate is not placed in the "
                                         "\"LocalComputer\" store, but in the \"User\" store.\r\n"
                                         " - The specified certificate does not contain a private key. ";

/// The record for one port, with what it points at. Stays where it was made.
class TBindingRecord
{
public:
    TBindingRecord(const std::string& AStore, const std::string& AThumbPrint, std::int32_t APort)
        : FHash(TZnNetEncoding::GetHexEncoding().Decode(AThumbPrint)), FStore(Utf16FromUtf8(AStore))
    {
        if (APort < 1 || APort > 65535)
            CheckResult(ERROR_INVALID_PARAMETER, ZnFormat("%d is no port.", APort));
        FAddress.sin_family = AF_INET;
        FAddress.sin_port = htons(static_cast<std::uint16_t>(APort));
        FRecord.KeyDesc.pIpPort = reinterpret_cast<const sockaddr*>(&FAddress);
        FRecord.ParamDesc.SslHashLength = static_cast<std::uint32_t>(FHash.size());
        FRecord.ParamDesc.pSslHash = FHash.data();
        FRecord.ParamDesc.AppId = SSLGUID.Bytes;
        FRecord.ParamDesc.pSslCertStoreName = FStore.c_str();
    }
    TBindingRecord(const TBindingRecord&) = delete;
    TBindingRecord& operator=(const TBindingRecord&) = delete;

    template <class TOperation>
    std::uint32_t PassTo(TOperation AOperation) const
    {
        return AOperation(0, HttpServiceConfigSSLCertInfo, &FRecord, sizeof FRecord, nullptr);
    }

private:
    std::string FHash;
    std::u16string FStore;
    sockaddr_in FAddress{};
    THTTP_SERVICE_CONFIG_SSL_SET FRecord{};
};

std::int32_t PortOf(const sockaddr* AAddress)
{
    // The port stands at the same place in both families.
    sockaddr_in Address;
    std::memcpy(&Address, AAddress, sizeof Address);
    return ntohs(Address.sin_port);
}

std::unique_ptr<TZnHTTPServerSSLRegistration> Registration(const Zn::ConfigurationAnswer& AAnswer)
{
    const auto Record = AAnswer.Record<THTTP_SERVICE_CONFIG_SSL_SET>();
    const THTTP_SERVICE_CONFIG_SSL_PARAM& Param = Record.ParamDesc;
    auto Result = std::make_unique<TZnHTTPServerSSLRegistration>();
    Result->CertStoreName =
        Param.pSslCertStoreName != nullptr ? Utf8FromUtf16(Param.pSslCertStoreName) : cDefaultStore;
    if (Record.KeyDesc.pIpPort != nullptr) {
        Result->IP = ZnIPAddrToStr(Record.KeyDesc.pIpPort);
        Result->Port = PortOf(Record.KeyDesc.pIpPort);
    }
    if (Param.pSslHash != nullptr)
        Result->CertThumbPrint =
            TZnNetEncoding::GetHexEncoding()
                .Encode(std::string_view(static_cast<const char*>(Param.pSslHash), Param.SslHashLength))
                .substr(0, cShortString);
    return Result;
}

} // namespace

TZnHTTPServerSSLList::TZnHTTPServerSSLList(TZnHTTPServerConfiguration* AOwner) : FOwner(AOwner)
{
    Refresh();
}

PZnHTTPServerSSLRegistration TZnHTTPServerSSLList::GetItem(int AIndex) const
{
    return Zn::ListItem(FList, AIndex);
}

void TZnHTTPServerSSLList::ClearList()
{
    while (!FList.empty())
        FList.pop_back();
}

void TZnHTTPServerSSLList::Refresh()
{
    ClearList();
    Zn::QueryConfigurationTable<THTTP_SERVICE_CONFIG_SSL_QUERY>(
        HttpServiceConfigSSLCertInfo,
        [this](const Zn::ConfigurationAnswer& AAnswer) { FList.push_back(Registration(AAnswer)); });
}

void TZnHTTPServerSSLList::Add(const std::string& ACertStoreName, const std::string& ACertThumbPrint,
                               const std::string& AIP, std::int32_t APort)
{
    const TBindingRecord Record(ACertStoreName, ACertThumbPrint, APort);
    const std::uint32_t Result = Record.PassTo(Zn::HttpApi.HttpSetServiceConfiguration);
    CheckResult(Result, Result == ERROR_NO_SUCH_LOGON_SESSION ? cCertificateHint : "");
    auto Entry = std::make_unique<TZnHTTPServerSSLRegistration>();
    Entry->IP = AIP.substr(0, cShortString);
    Entry->Port = APort;
    Entry->CertStoreName = ACertStoreName;
    Entry->CertThumbPrint = ACertThumbPrint.substr(0, cShortString);
    FList.push_back(std::move(Entry));
}

void TZnHTTPServerSSLList::Delete(int AIndex)
{
    const TZnHTTPServerSSLRegistration& Entry = *Zn::ListItem(FList, AIndex);
    const TBindingRecord Record(Entry.CertStoreName, Entry.CertThumbPrint, Entry.Port);
    CheckResult(Record.PassTo(Zn::HttpApi.HttpDeleteServiceConfiguration));
    FList.erase(FList.begin() + AIndex);
}
