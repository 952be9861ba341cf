#include "uZnHTTPServer/ConfigurationLists.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/NetEncoding.h"
#include "platform/errors/Errors.h"
#include "platform/httpapi/Exports.h"
#include "tests/support/TemporaryState.h"
#include "uZnHTTPServer.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnIPHelper.h"

namespace
{

using Calls = std::vector<std::string>;

/// What one query gives: a status, or bytes (122 first, then the bytes).
struct ScriptedAnswer
{
    std::uint32_t Status = ERROR_INSUFFICIENT_BUFFER;
    std::function<void(char*)> Fill{};
    std::uint32_t Length = 0;
    std::uint32_t SecondStatus = NO_ERROR;
};

/// The service's table with scripted configuration operations in it.
class ScriptedConfiguration
{
public:
    ScriptedConfiguration() : FLibrary("Httpapi.dll", Exports()) { Active = this; }
    ~ScriptedConfiguration() { Active = nullptr; }

    std::deque<ScriptedAnswer> Answers; // one for each entry; behind the last 259
    std::uint32_t ChangeStatus = NO_ERROR;
    Calls Seen;

private:
    static inline ScriptedConfiguration* Active = nullptr;

    static std::uint32_t Initialize(THTTPAPI_VERSION, std::uint32_t AFlags, void*)
    {
        Active->Seen.push_back("HttpInitialize " + std::to_string(AFlags));
        return NO_ERROR;
    }
    static std::uint32_t Terminate(std::uint32_t AFlags, void*)
    {
        Active->Seen.push_back("HttpTerminate " + std::to_string(AFlags));
        return NO_ERROR;
    }

    static std::uint32_t Query(THandle AService, THTTP_SERVICE_CONFIG_ID AId, const void* AInput,
                               std::uint32_t AInputLength, void* AOutput, std::uint32_t AOutputLength,
                               std::uint32_t* ALength, OVERLAPPED* AOverlapped)
    {
        EXPECT_EQ(AService, 0U);
        EXPECT_EQ(AOverlapped, nullptr);
        std::string Call = "Query " + std::to_string(AId);
        if (AId == HttpServiceConfigIPListenList) {
            EXPECT_EQ(AInput, nullptr);
        } else {
            // Both query records are laid out alike: kind, key pointer, token.
            EXPECT_EQ(AInputLength, sizeof(THTTP_SERVICE_CONFIG_URLACL_QUERY));
            THTTP_SERVICE_CONFIG_URLACL_QUERY Record;
            std::memcpy(&Record, AInput, sizeof Record);
            EXPECT_EQ(Record.QueryDesc, HttpServiceConfigQueryNext);
            EXPECT_EQ(Record.KeyDesc.pUrlPrefix, nullptr);
            Call += " #" + std::to_string(Record.dwToken);
        }
        Active->Seen.push_back(Call + (AOutput == nullptr ? "" : " " + std::to_string(AOutputLength)));
        if (Active->Answers.empty())
            return AId == HttpServiceConfigIPListenList ? ERROR_FILE_NOT_FOUND : ERROR_NO_MORE_ITEMS;
        const ScriptedAnswer Answer = Active->Answers.front();
        *ALength = Answer.Length;
        if (AOutput == nullptr && Answer.Status == ERROR_INSUFFICIENT_BUFFER)
            return Answer.Status;
        Active->Answers.pop_front();
        if (AOutput == nullptr)
            return Answer.Status;
        EXPECT_TRUE(std::all_of(static_cast<char*>(AOutput), static_cast<char*>(AOutput) + AOutputLength,
                                [](char AByte) { return AByte == 0; }));
        Answer.Fill(static_cast<char*>(AOutput));
        return Answer.SecondStatus;
    }

    static std::string TextOf(const char16_t* AText) { return Utf8FromUtf16(AText); }
    static std::string AddressOf(const sockaddr* AAddress)
    {
        sockaddr_in6 Six{};
        std::memcpy(&Six, AAddress,
                    AAddress->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in));
        return ZnIPAddrToStr(AAddress) + ":" + std::to_string(ntohs(Six.sin6_port)) +
               (AAddress->sa_family == AF_INET6 ? " scope " + std::to_string(Six.sin6_scope_id) : "");
    }

    static std::uint32_t Change(const std::string& AName, THandle AService, THTTP_SERVICE_CONFIG_ID AId,
                                const void* AInformation, std::uint32_t ALength, OVERLAPPED* AOverlapped)
    {
        EXPECT_EQ(AService, 0U);
        EXPECT_EQ(AOverlapped, nullptr);
        std::string Call = AName + " " + std::to_string(AId) + " ";
        if (AId == HttpServiceConfigUrlAclInfo) {
            THTTP_SERVICE_CONFIG_URLACL_SET Record{};
            EXPECT_EQ(ALength, sizeof Record);
            std::memcpy(&Record, AInformation, sizeof Record);
            Call +=
                TextOf(Record.KeyDesc.pUrlPrefix) + " " + TextOf(Record.ParamDesc.pStringSecurityDescriptor);
        } else if (AId == HttpServiceConfigIPListenList) {
            THTTP_SERVICE_CONFIG_IP_LISTEN_PARAM Record{};
            EXPECT_EQ(ALength, sizeof Record);
            std::memcpy(&Record, AInformation, sizeof Record);
            Call += std::to_string(Record.AddrLength) + " " + AddressOf(Record.pAddress);
        } else {
            THTTP_SERVICE_CONFIG_SSL_SET Record{};
            EXPECT_EQ(ALength, sizeof Record);
            std::memcpy(&Record, AInformation, sizeof Record);
            const THTTP_SERVICE_CONFIG_SSL_PARAM& Param = Record.ParamDesc;
            EXPECT_EQ(Param.AppId, SSLGUID.Bytes);
            EXPECT_EQ(Param.CertCheckMode + Param.RevocationFreshnessTime +
                          Param.RevocationUrlRetrievalTimeout + Param.DefaultFlags,
                      0U);
            Call += AddressOf(Record.KeyDesc.pIpPort) + " " + TextOf(Param.pSslCertStoreName) + " " +
                    TZnNetEncoding::GetHexEncoding().Encode(
                        std::string_view(static_cast<const char*>(Param.pSslHash), Param.SslHashLength));
        }
        Active->Seen.push_back(Call);
        return Active->ChangeStatus;
    }
    static std::uint32_t Set(THandle AService, THTTP_SERVICE_CONFIG_ID AId, const void* AInformation,
                             std::uint32_t ALength, OVERLAPPED* AOverlapped)
    {
        return Change("Set", AService, AId, AInformation, ALength, AOverlapped);
    }
    static std::uint32_t Delete(THandle AService, THTTP_SERVICE_CONFIG_ID AId, const void* AInformation,
                                std::uint32_t ALength, OVERLAPPED* AOverlapped)
    {
        return Change("Delete", AService, AId, AInformation, ALength, AOverlapped);
    }

    static std::vector<TZnExport> Exports()
    {
        const std::pair<std::string, void*> Scripted[] = {
            {"HttpInitialize", reinterpret_cast<void*>(Initialize)},
            {"HttpTerminate", reinterpret_cast<void*>(Terminate)},
            {"HttpQueryServiceConfiguration", reinterpret_cast<void*>(Query)},
            {"HttpSetServiceConfiguration", reinterpret_cast<void*>(Set)},
            {"HttpDeleteServiceConfiguration", reinterpret_cast<void*>(Delete)}};
        const auto Real = HttpapiExports();
        std::vector<TZnExport> Result(Real.begin(), Real.end());
        for (TZnExport& Each : Result)
            for (const auto& [Name, Address] : Scripted)
                if (Name == Each.Name)
                    Each.Address = Address;
        return Result;
    }

    TZnScopedLibrary FLibrary;
};

ScriptedAnswer Reservation(const std::u16string& APrefix, const std::u16string& ADescriptor)
{
    const std::u16string Texts = APrefix + u'\0' + ADescriptor + u'\0';
    constexpr std::size_t Start = sizeof(THTTP_SERVICE_CONFIG_URLACL_SET);
    return {.Fill = [=](char* AOut) { std::memcpy(AOut + Start, Texts.data(), Texts.size() * 2); },
            .Length = static_cast<std::uint32_t>(Start + Texts.size() * 2)};
}

ScriptedAnswer Registration(const sockaddr* AAddress, const char16_t* AStore, const std::string& AHash)
{
    return {.Fill =
                [=](char* AOut) {
                    THTTP_SERVICE_CONFIG_SSL_SET Record{};
                    Record.KeyDesc.pIpPort = AAddress;
                    Record.ParamDesc.SslHashLength = static_cast<std::uint32_t>(AHash.size());
                    Record.ParamDesc.pSslHash = AOut + sizeof Record;
                    Record.ParamDesc.pSslCertStoreName = AStore;
                    std::memcpy(AOut, &Record, sizeof Record);
                    std::memcpy(AOut + sizeof Record, AHash.data(), AHash.size());
                },
            .Length = static_cast<std::uint32_t>(sizeof(THTTP_SERVICE_CONFIG_SSL_SET) + AHash.size())};
}

/// The number that AWork's EZnHTTPException carries, with its text.
template <class TWork>
std::pair<int, std::string> Refusal(TWork AWork)
{
    try {
        AWork();
    } catch (const EZnHTTPException& Error) {
        return {Error.GetErrorCode(), Error.Message()};
    }
    return {0, ""};
}

class ConfigurationLists : public testing::Test
{
protected:
    const TemporaryState State;
    ScriptedConfiguration Service;
    TZnHTTPServerConfiguration Configuration{nullptr};
};

TEST_F(ConfigurationLists, LoadTheServiceOnceAndGiveItBack)
{
    {
        TZnHTTPServerConfiguration Other(nullptr);
        EXPECT_TRUE(Service.Seen.empty());
        Other.GetSSLList();
        Other.GetIPListenList();
        Other.GetUrlAclList();
        Other.GetUrlAclList();
        TZnHTTPServer Server(nullptr);
        EXPECT_THROW(Server.SetServerVersion(HTTPServerV2), Exception);
    }
    EXPECT_EQ(Service.Seen,
              (Calls{"HttpInitialize 3", "Query 1 #0", "Query 0", "Query 2 #0", "HttpTerminate 3"}));
    Service.Answers = {{.Status = ERROR_ACCESS_DENIED}};
    EXPECT_EQ(Refusal([&] { Configuration.GetUrlAclList(); }),
              std::pair(5, "System Error: " + SysErrorText(5) + "!"));
    EXPECT_EQ(Configuration.GetUrlAclList().GetCount(), 0); // asked again
}

TEST_F(ConfigurationLists, ReservationsAreReadEntryByEntry)
{
    Service.Answers = {Reservation(u"http://+:80/\u00e4/", u"D:(A;;GX;;;WD)"),
                       {.Status = NO_ERROR},
                       Reservation(u"http://*:81/", u"")};
    TZnHTTPServerUrlAclList& List = Configuration.GetUrlAclList();
    ASSERT_EQ(List.GetCount(), 2);
    EXPECT_EQ(List.GetItem(0)->UrlPrefix, "http://+:80/\xc3\xa4/");
    EXPECT_EQ(List.GetItem(0)->SecurityDescriptor, "D:(A;;GX;;;WD)");
    EXPECT_EQ(List.GetItem(1)->UrlPrefix, "http://*:81/");
    EXPECT_THROW(List.GetItem(2), EListError);
    EXPECT_THROW(List.GetItem(-1), EListError);
    EXPECT_EQ(Service.Seen, (Calls{"HttpInitialize 3", "Query 2 #0", "Query 2 #0 76", "Query 2 #1",
                                   "Query 2 #2", "Query 2 #2 44", "Query 2 #3"}));

    for (const std::uint32_t End : {ERROR_FILE_NOT_FOUND, ERROR_NO_MORE_ITEMS, ERROR_NOT_FOUND}) {
        Service.Answers = {Reservation(u"a", u"b"), {.Status = End}, Reservation(u"c", u"d")};
        List.Refresh();
        EXPECT_EQ(List.GetCount(), 1) << End;
    }
    // A failure keeps what came before it.
    ScriptedAnswer Failing = Reservation(u"c", u"d");
    Failing.SecondStatus = ERROR_NOT_ENOUGH_MEMORY;
    Service.Answers = {Reservation(u"a", u"b"), Failing};
    EXPECT_EQ(Refusal([&] { List.Refresh(); }).first, 8);
    EXPECT_EQ(List.GetCount(), 1);
    Service.Answers = {Reservation(u"a", u"b"), Reservation(u"c", u"d"), {.Status = ERROR_INVALID_DATA}};
    EXPECT_EQ(Refusal([&] { List.Refresh(); }).first, 13);
    EXPECT_EQ(List.GetCount(), 2);
}

TEST_F(ConfigurationLists, ChangesOfReservationsGoToTheServiceAndAreReadBack)
{
    TZnHTTPServerUrlAclList& List = Configuration.GetUrlAclList();
    Service.Seen.clear();
    Service.Answers = {Reservation(u"p", u"d")};
    List.Add("http://\xc3\xa4:80/", "D:");
    EXPECT_EQ(List.GetCount(), 1);
    Service.ChangeStatus = ERROR_ALREADY_EXISTS;
    EXPECT_EQ(Refusal([&] { List.Delete("http://+:80/", "D:"); }).first, 183);
    EXPECT_EQ(List.GetCount(), 1);
    EXPECT_EQ(Service.Seen, (Calls{"Set 2 http://\xc3\xa4:80/ D:", "Query 2 #0", "Query 2 #0 24",
                                   "Query 2 #1", "Delete 2 http://+:80/ D:"}));
}

TEST_F(ConfigurationLists, ListenAddressesAreParsedByFamily)
{
    TZnHTTPServerIPListenList& List = Configuration.GetIPListenList();
    Service.Seen.clear();
    for (const char* Text : {"no address", "", "1.2.3.4.5.6", "fe80::x"}) {
        try {
            List.Add(Text);
            ADD_FAILURE() << Text;
        } catch (const Exception& Error) {
            EXPECT_EQ(Error.Message(), "Invalid IPAddress!") << Text;
        }
    }
    EXPECT_TRUE(Service.Seen.empty());
    List.Add("10.0.0.1");
    List.Add("2001:db8::1");
    List.Delete("fe80::1%12");
    EXPECT_EQ(Service.Seen, (Calls{"Set 0 16 10.0.0.1:8080", "Query 0", "Set 0 28 2001:db8::1:8080 scope 0",
                                   "Query 0", "Delete 0 28 fe80::1%12:8080 scope 12", "Query 0"}));
}

TEST_F(ConfigurationLists, ListenAddressesAreReadFromTheirSlots)
{
    const auto Answer = [](std::uint32_t ACount) {
        return ScriptedAnswer{.Fill =
                                  [=](char* AOut) {
                                      std::memcpy(AOut, &ACount, 4);
                                      sockaddr_in Four{};
                                      Four.sin_family = AF_INET;
                                      Four.sin_addr.s_addr = htonl(0x0A000001);
                                      sockaddr_in6 Six{};
                                      Six.sin6_family = AF_INET6;
                                      Six.sin6_addr.s6_addr[0] = 0xFE;
                                      Six.sin6_addr.s6_addr[1] = 0x80;
                                      Six.sin6_addr.s6_addr[15] = 0xAB;
                                      Six.sin6_scope_id = 3;
                                      std::memcpy(AOut + 8, &Four, sizeof Four);
                                      std::memcpy(AOut + 136, &Six, sizeof Six);
                                  },
                              .Length = 264};
    };
    Service.Answers = {Answer(2)};
    TZnHTTPServerIPListenList& List = Configuration.GetIPListenList();
    ASSERT_EQ(List.GetCount(), 2);
    EXPECT_EQ(List.GetIPAddress(0), "10.0.0.1");
    EXPECT_EQ(List.IndexOf("FE80::AB%3"), 1);
    TStringList Copy{"old"};
    List.FillIPList(Copy);
    EXPECT_EQ(Copy.Count(), 2);
    Service.Seen.clear();
    Service.ChangeStatus = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Refusal([&] { List.Delete(1); }).first, 5);
    EXPECT_EQ(Service.Seen, Calls{"Delete 0 28 fe80::ab%3:8080 scope 3"});
    EXPECT_EQ(List.GetCount(), 2);

    Service.Answers = {Answer(0xFFFFFFFF)}; // more than the answer has room for
    List.Refresh();
    EXPECT_EQ(List.GetCount(), 2);
    Service.Answers = {{.Status = ERROR_NOT_FOUND}};
    List.Refresh();
    EXPECT_EQ(List.GetCount(), 0);
    Service.Answers = {{.Status = ERROR_NO_MORE_ITEMS}}; // not an end that this table has
    EXPECT_EQ(Refusal([&] { List.Refresh(); }).first, 259);
}

TEST_F(ConfigurationLists, BindingsAreReadWithTheirDefaults)
{
    sockaddr_in Four{};
    Four.sin_family = AF_INET;
    Four.sin_port = htons(443);
    sockaddr_in6 Six{};
    Six.sin6_family = AF_INET6;
    Six.sin6_port = htons(8443);
    Service.Answers = {Registration(reinterpret_cast<sockaddr*>(&Four), nullptr, "\xAB\x01"),
                       Registration(reinterpret_cast<sockaddr*>(&Six), u"web", std::string(200, '\x11'))};
    TZnHTTPServerSSLList& List = Configuration.GetSSLList();
    ASSERT_EQ(List.GetCount(), 2);
    const TZnHTTPServerSSLRegistration& First = *List.GetItem(0);
    EXPECT_EQ(First.IP + " " + std::to_string(First.Port) + " " + First.CertStoreName + " " +
                  First.CertThumbPrint,
              "0.0.0.0 443 my ab01");
    const TZnHTTPServerSSLRegistration& Second = *List.GetItem(1);
    EXPECT_EQ(Second.IP + " " + std::to_string(Second.Port) + " " + Second.CertStoreName, ":: 8443 web");
    EXPECT_EQ(Second.CertThumbPrint, std::string(255, '1'));
}

TEST_F(ConfigurationLists, BindingsAreForThePortOnAllAddresses)
{
    TZnHTTPServerSSLList& List = Configuration.GetSSLList();
    Service.Seen.clear();
    List.Add("web", "AB01", "10.0.0.1", 443);
    List.Add("my", "cd", "", 65535);
    EXPECT_EQ(List.GetItem(0)->IP, "10.0.0.1"); // in the list only
    EXPECT_EQ(List.GetItem(0)->CertThumbPrint, "AB01");
    List.Delete(0);
    ASSERT_EQ(List.GetCount(), 1);
    EXPECT_EQ(List.GetItem(0)->Port, 65535);
    EXPECT_EQ(Service.Seen, (Calls{"Set 1 0.0.0.0:443 web ab01", "Set 1 0.0.0.0:65535 my cd",
                                   "Delete 1 0.0.0.0:443 web ab01"}));

    Service.Seen.clear();
    EXPECT_THROW(List.Add("my", "xyz", "", 443), EConvertError);
    EXPECT_EQ(Refusal([&] { List.Add("my", "ab", "", 65979); }).first, 87); // 443 in 16 bits
    EXPECT_TRUE(Service.Seen.empty());
    Service.ChangeStatus = ERROR_NO_SUCH_LOGON_SESSION;
    EXPECT_EQ(
        Refusal([&] { List.Add("my", "ab", "", 444); }),
        std::pair(
            1312,
            "System Error: " + SysErrorText(1312) +
                "!\r\nThe most common reasons for this error are: \r\n"
                " - The specified certificate is not placed in the \"LocalComputer\" store, but in "
                "the \"User\" store.\r\n - The specified certificate does not contain a private key. "));
    EXPECT_EQ(Refusal([&] { List.Delete(0); }), std::pair(1312, "System Error: " + SysErrorText(1312) + "!"));
    EXPECT_EQ(List.GetCount(), 1);
}

// --- Over the service's own store ------------------------------------------------------------------

TEST(ConfigurationListsOnTheStore, OutliveTheComponent)
{
    const TemporaryState State;
    const std::string ThumbPrint = ZnCreateServerCertificate("localhost");
    {
        TZnHTTPServerConfiguration First(nullptr);
        EXPECT_EQ(First.GetUrlAclList().GetCount(), 0);
        First.GetUrlAclList().Add("http://+:80/x/", "D:(A;;GX;;;WD)");
        First.GetIPListenList().Add("127.0.0.1");
        First.GetIPListenList().Add("fe80::1");
        First.GetSSLList().Add("my", ThumbPrint, "10.0.0.1", 443);
        EXPECT_EQ(Refusal([&] { First.GetSSLList().Add("my", ThumbPrint, "", 443); }).first, 183);
        EXPECT_EQ(Refusal([&] { First.GetSSLList().Add("none", ThumbPrint, "", 444); }).first, 1312);
    }
    EXPECT_FALSE(Zn::HttpApiInitialised());
    TZnHTTPServerConfiguration Second(nullptr);
    ASSERT_EQ(Second.GetUrlAclList().GetCount(), 1);
    EXPECT_EQ(Second.GetUrlAclList().GetItem(0)->UrlPrefix, "http://+:80/x/");
    EXPECT_EQ(Second.GetUrlAclList().GetItem(0)->SecurityDescriptor, "D:(A;;GX;;;WD)");
    EXPECT_EQ(Second.GetIPListenList().IndexOf("fe80::1"), 1);
    ASSERT_EQ(Second.GetSSLList().GetCount(), 1);
    EXPECT_EQ(Second.GetSSLList().GetItem(0)->IP, "0.0.0.0");
    EXPECT_EQ(Second.GetSSLList().GetItem(0)->CertThumbPrint, ThumbPrint);
    Second.GetSSLList().Delete(0);
    Second.GetIPListenList().Delete(0);
    Second.GetUrlAclList().Delete("http://+:80/x/", "");
    EXPECT_EQ(Second.GetUrlAclList().GetCount() + Second.GetSSLList().GetCount(), 0);
    EXPECT_EQ(Second.GetIPListenList().GetCount(), 1);
    ASSERT_EQ(ZnListServerCertificates().size(), 1U);
    EXPECT_TRUE(ZnListServerCertificates("my")[0].HasKey);
    ZnDeleteServerCertificate(ThumbPrint);
    EXPECT_TRUE(ZnListServerCertificates().empty());
}

} // namespace
