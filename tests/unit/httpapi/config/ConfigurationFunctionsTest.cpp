#include <cstring>
#include <optional>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Endpoint.h"
#include "platform/httpapi/Httpapi.h"
#include "platform/httpapi/config/Configuration.h"
#include "tests/support/RawClient.h"
#include "tests/support/TemporaryState.h"

namespace
{

using TOperation = decltype(&HttpSetServiceConfiguration);
constexpr TOperation Set = HttpSetServiceConfiguration;
constexpr TOperation Delete = HttpDeleteServiceConfiguration;

std::uint32_t Url(TOperation AOperation, const char16_t* APrefix,
                  const char16_t* ADescriptor = u"D:(A;;GX;;;WD)")
{
    const THTTP_SERVICE_CONFIG_URLACL_SET Record{{APrefix}, {ADescriptor}};
    return AOperation(0, HttpServiceConfigUrlAclInfo, &Record, sizeof Record, nullptr);
}

std::uint32_t Address(TOperation AOperation, const std::string& AText, int AExtraLength = 0)
{
    const auto Endpoint = Zn::EndpointFromText(AText, 8080);
    const THTTP_SERVICE_CONFIG_IP_LISTEN_PARAM Record{
        static_cast<std::uint16_t>(static_cast<int>(Endpoint->Length) + AExtraLength), Endpoint->Get()};
    return AOperation(0, HttpServiceConfigIPListenList, &Record, sizeof Record, nullptr);
}

/// The binding of a port, with what may be changed about it.
struct Binding
{
    Zn::Endpoint Key;
    std::string Hash = std::string(20, '\0');
    THTTP_SERVICE_CONFIG_SSL_SET Record{};

    explicit Binding(std::uint16_t APort, const std::string& AAddress = "0.0.0.0")
        : Key(*Zn::EndpointFromText(AAddress, APort))
    {
    }
    std::uint32_t PassTo(TOperation AOperation)
    {
        Record.KeyDesc.pIpPort = Key.Get();
        Record.ParamDesc.SslHashLength = static_cast<std::uint32_t>(Hash.size());
        Record.ParamDesc.pSslHash = Hash.data();
        return AOperation(0, HttpServiceConfigSSLCertInfo, &Record, sizeof Record, nullptr);
    }
};

std::uint32_t Query(THTTP_SERVICE_CONFIG_ID AId, const void* AQuery, std::uint32_t ALength,
                    std::vector<std::uint64_t>& AAnswer)
{
    std::uint32_t Wanted = 0;
    const std::uint32_t First =
        HttpQueryServiceConfiguration(0, AId, AQuery, ALength, nullptr, 0, &Wanted, nullptr);
    if (First != ERROR_INSUFFICIENT_BUFFER)
        return First;
    // Every length that is too short is refused alike, and nothing is written beyond it.
    for (std::uint32_t Length = 0; Length <= Wanted; ++Length) {
        constexpr std::uint64_t Untouched = 0xA5A5A5A5A5A5A5A5;
        AAnswer.assign(Wanted / 8 + 2, Untouched);
        std::uint32_t Again = 0;
        const std::uint32_t Result =
            HttpQueryServiceConfiguration(0, AId, AQuery, ALength, AAnswer.data(), Length, &Again, nullptr);
        EXPECT_EQ(Again, Wanted);
        EXPECT_EQ(Result, Length < Wanted ? ERROR_INSUFFICIENT_BUFFER : NO_ERROR) << Length;
        EXPECT_EQ(reinterpret_cast<const unsigned char*>(AAnswer.data())[Length], 0xA5) << Length;
    }
    return NO_ERROR;
}

class ServiceConfiguration : public testing::Test
{
protected:
    /// A certificate in the store; the thumbprint's bytes.
    static std::string MakeCertificate()
    {
        char Text[41] = "";
        EXPECT_EQ(ZnHttpCreateCertificate("localhost", 1, nullptr, Text), NO_ERROR);
        std::string Result;
        for (int At = 0; At < 40; At += 2)
            Result += static_cast<char>(std::stoi(std::string(Text + At, 2), nullptr, 16));
        return Result;
    }

    const TemporaryState State;
    std::vector<std::uint64_t> Answer;
};

TEST_F(ServiceConfiguration, ReservationsAreKeptByThePrefixHoweverItIsSpelled)
{
    THTTP_SERVICE_CONFIG_URLACL_QUERY Next{HttpServiceConfigQueryNext, {nullptr}, 0};
    EXPECT_EQ(Query(HttpServiceConfigUrlAclInfo, &Next, sizeof Next, Answer), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(Url(Set, u"http://+:80/App/"), NO_ERROR);
    EXPECT_EQ(Url(Set, u"HTTP://+/app"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(Url(Set, u"http://b\u00fccher:80/"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Url(Set, u"https://*:443/", u"D:(A;;GA;;;S-1-5-19)\u00e4"), NO_ERROR);
    for (const char16_t* Prefix : {u"", u"http://", u"ftp://x/", static_cast<const char16_t*>(nullptr)}) {
        EXPECT_EQ(Url(Set, Prefix), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(Url(Delete, Prefix), ERROR_INVALID_PARAMETER);
    }
    EXPECT_EQ(Url(Set, u"http://+:81/", u""), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Url(Set, u"http://+:81/", nullptr), ERROR_INVALID_PARAMETER);

    Next.dwToken = 1;
    ASSERT_EQ(Query(HttpServiceConfigUrlAclInfo, &Next, sizeof Next, Answer), NO_ERROR);
    const auto* Record = reinterpret_cast<const THTTP_SERVICE_CONFIG_URLACL_SET*>(Answer.data());
    EXPECT_EQ(Record->KeyDesc.pUrlPrefix, std::u16string(u"https://*:443/"));
    EXPECT_EQ(Record->ParamDesc.pStringSecurityDescriptor, std::u16string(u"D:(A;;GA;;;S-1-5-19)\u00e4"));
    EXPECT_EQ(reinterpret_cast<const char*>(Record->KeyDesc.pUrlPrefix),
              reinterpret_cast<const char*>(Record + 1));

    THTTP_SERVICE_CONFIG_URLACL_QUERY Exact{HttpServiceConfigQueryExact, {u"http://+:80/APP"}, 0};
    ASSERT_EQ(Query(HttpServiceConfigUrlAclInfo, &Exact, sizeof Exact, Answer), NO_ERROR);
    Record = reinterpret_cast<const THTTP_SERVICE_CONFIG_URLACL_SET*>(Answer.data());
    EXPECT_EQ(Record->KeyDesc.pUrlPrefix, std::u16string(u"http://+:80/App/")); // as it was given
    EXPECT_EQ(Url(Delete, u"http://+:80/app/", nullptr), NO_ERROR);
    EXPECT_EQ(Query(HttpServiceConfigUrlAclInfo, &Exact, sizeof Exact, Answer), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Url(Delete, u"http://+:80/app/"), ERROR_FILE_NOT_FOUND);
}

TEST_F(ServiceConfiguration, ListenAddressesAreListedInSlots)
{
    EXPECT_EQ(Query(HttpServiceConfigIPListenList, nullptr, 0, Answer), ERROR_FILE_NOT_FOUND);
    const std::vector<std::string> Texts{"127.0.0.1", "::1", "fe80::1%7", "0.0.0.0", "2001:db8::a"};
    for (const std::string& Each : Texts) {
        EXPECT_EQ(Address(Set, Each), NO_ERROR) << Each;
        EXPECT_EQ(Address(Set, Each), ERROR_ALREADY_EXISTS) << Each;
        EXPECT_EQ(Address(Set, Each, 1), ERROR_INVALID_PARAMETER) << Each;
    }
    ASSERT_EQ(Query(HttpServiceConfigIPListenList, nullptr, 0, Answer), NO_ERROR);
    const auto* List = reinterpret_cast<const THTTP_SERVICE_CONFIG_IP_LISTEN_QUERY*>(Answer.data());
    ASSERT_EQ(List->AddrCount, Texts.size());
    for (std::size_t At = 0; At < Texts.size(); ++At)
        EXPECT_EQ(
            Zn::AddressText(*Zn::EndpointFromAddress(reinterpret_cast<const sockaddr*>(&List->AddrList[At]))),
            Texts[At]);
    EXPECT_EQ(Address(Delete, "fe80::1"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Address(Delete, "fe80::1%7"), NO_ERROR);
}

TEST_F(ServiceConfiguration, BindingsNeedACertificateAndSayWhatTheyCanDo)
{
    Binding Good(443);
    EXPECT_EQ(Good.PassTo(Set), ERROR_NO_SUCH_LOGON_SESSION);
    Good.Hash = MakeCertificate();
    Good.Record.ParamDesc.AppId = {0xcc, 0xaf, 0xdd, 0x84};
    Good.Record.ParamDesc.DefaultFlags = HTTP_SERVICE_CONFIG_SSL_FLAG_NEGOTIATE_CLIENT_CERT;
    Good.Record.ParamDesc.pSslCertStoreName = u"other";
    EXPECT_EQ(Good.PassTo(Set), ERROR_NO_SUCH_LOGON_SESSION);
    Good.Record.ParamDesc.pSslCertStoreName = u"../my";
    EXPECT_EQ(Good.PassTo(Set), ERROR_INVALID_NAME);
    Good.Record.ParamDesc.pSslCertStoreName = nullptr;
    EXPECT_EQ(Good.PassTo(Set), NO_ERROR);
    EXPECT_EQ(Good.PassTo(Set), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(Binding(443, "::").PassTo(Delete), NO_ERROR); // a binding is for all addresses: one key
    EXPECT_EQ(Good.PassTo(Set), NO_ERROR);

    const auto Refused = [&](auto AChange) {
        Binding Bad(444);
        Bad.Hash = Good.Hash;
        AChange(Bad);
        return Bad.PassTo(Set);
    };
    EXPECT_EQ(Refused([](Binding& B) { B.Hash.pop_back(); }), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Refused([](Binding& B) { B.Key = *Zn::EndpointFromText("0.0.0.0", 0); }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Refused([](Binding& B) { B.Key.Address.ss_family = AF_UNIX; }), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Refused([](Binding& B) { B.Key = *Zn::EndpointFromText("127.0.0.1", 444); }),
              ERROR_NOT_SUPPORTED);
    EXPECT_EQ(Refused([](Binding& B) { B.Record.ParamDesc.CertCheckMode = 1; }), ERROR_NOT_SUPPORTED);
    EXPECT_EQ(Refused([](Binding& B) { B.Record.ParamDesc.DefaultFlags = 1; }), ERROR_NOT_SUPPORTED);

    const THTTP_SERVICE_CONFIG_SSL_QUERY Next{HttpServiceConfigQueryNext, {nullptr}, 0};
    ASSERT_EQ(Query(HttpServiceConfigSSLCertInfo, &Next, sizeof Next, Answer), NO_ERROR);
    const auto& Record = *reinterpret_cast<const THTTP_SERVICE_CONFIG_SSL_SET*>(Answer.data());
    EXPECT_EQ(
        std::string(static_cast<const char*>(Record.ParamDesc.pSslHash), Record.ParamDesc.SslHashLength),
        Good.Hash);
    EXPECT_EQ(Record.ParamDesc.AppId, Good.Record.ParamDesc.AppId);
    EXPECT_EQ(Record.ParamDesc.DefaultFlags, HTTP_SERVICE_CONFIG_SSL_FLAG_NEGOTIATE_CLIENT_CERT);
    EXPECT_EQ(Zn::PortOf(*Zn::EndpointFromAddress(Record.KeyDesc.pIpPort)), 443);
    std::optional<Zn::CertificateBinding> Found;
    EXPECT_EQ(Zn::FindCertificateBinding(443, Found), NO_ERROR);
    ASSERT_TRUE(Found);
    EXPECT_EQ(Found->Store, "my");
    EXPECT_TRUE(Found->NegotiateClientCertificate);
    EXPECT_EQ(Zn::FindCertificateBinding(444, Found), NO_ERROR);
    EXPECT_FALSE(Found);
    EXPECT_EQ(Good.PassTo(Delete), NO_ERROR);
    EXPECT_EQ(Good.PassTo(Delete), ERROR_FILE_NOT_FOUND);
}

TEST_F(ServiceConfiguration, RefusesCallsThatCannotBe)
{
    std::uint32_t Length = 0;
    OVERLAPPED Later{};
    const THTTP_SERVICE_CONFIG_URLACL_QUERY Max{
        static_cast<THTTP_SERVICE_CONFIG_QUERY_TYPE>(2), {nullptr}, 0};
    for (const std::uint32_t Result :
         {Set(1, HttpServiceConfigUrlAclInfo, &Max, sizeof Max, nullptr),
          Set(0, HttpServiceConfigUrlAclInfo, &Max, sizeof Max, &Later),
          Set(0, HttpServiceConfigUrlAclInfo, nullptr, 0, nullptr),
          Set(0, HttpServiceConfigSSLCertInfo, &Max, sizeof Max, nullptr),
          Set(0, static_cast<THTTP_SERVICE_CONFIG_ID>(3), &Max, sizeof Max, nullptr),
          HttpQueryServiceConfiguration(0, HttpServiceConfigIPListenList, &Max, sizeof Max, nullptr, 0,
                                        &Length, nullptr),
          HttpQueryServiceConfiguration(0, HttpServiceConfigUrlAclInfo, nullptr, 0, nullptr, 0, &Length,
                                        nullptr),
          HttpQueryServiceConfiguration(0, HttpServiceConfigUrlAclInfo, &Max, sizeof Max, nullptr, 0, &Length,
                                        nullptr),
          HttpQueryServiceConfiguration(0, HttpServiceConfigUrlAclInfo, &Max, sizeof Max, nullptr, 0, nullptr,
                                        nullptr)})
        EXPECT_EQ(Result, ERROR_INVALID_PARAMETER);
}

// --- What the IP listen list does to listening -----------------------------------------------------

class ListenList : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(HttpInitialize(HTTPAPI_VERSION_1, HTTP_INITIALIZE_SERVER, nullptr), NO_ERROR);
        ASSERT_EQ(HttpCreateHttpHandle(&Queue, 0), NO_ERROR);
    }
    void TearDown() override
    {
        CloseHandle(Queue);
        HttpTerminate(HTTP_INITIALIZE_SERVER, nullptr);
    }

    std::string Url(const std::string& AHost) const
    {
        return "http://" + AHost + ":" + std::to_string(Port) + "/";
    }
    std::uint32_t Add(const std::string& AHost) { return HttpAddUrl(Queue, Url(AHost).c_str(), nullptr); }
    std::uint32_t Remove(const std::string& AHost) { return HttpRemoveUrl(Queue, Url(AHost).c_str()); }
    /// The ends of 127.0.0.x that take connections.
    std::string Open() const
    {
        std::string Result;
        for (const std::string Last : {"1", "2", "3"}) {
            const auto Endpoint = Zn::EndpointFromText("127.0.0." + Last, Port);
            const int Fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            if (connect(Fd, Endpoint->Get(), Endpoint->Length) == 0)
                Result += Last;
            close(Fd);
        }
        return Result;
    }

    const TemporaryState State;
    const std::uint16_t Port = FreePort();
    THandle Queue = 0;
};

TEST_F(ListenList, NamesAndWildcardsListenOnItAndOthersDoNot)
{
    Address(Set, "127.0.0.1");
    Address(Set, "127.0.0.2");
    ASSERT_EQ(Add("+"), NO_ERROR);
    EXPECT_EQ(Open(), "12");
    // A change waits for the next registration, and what was registered is taken back as it was.
    Address(Delete, "127.0.0.1");
    Address(Set, "127.0.0.3");
    EXPECT_EQ(Open(), "12");
    ASSERT_EQ(Add("example.org"), NO_ERROR);
    EXPECT_EQ(Open(), "123");
    EXPECT_EQ(Remove("+"), NO_ERROR);
    EXPECT_EQ(Open(), "23");
    ASSERT_EQ(Add("localhost"), NO_ERROR);
    EXPECT_EQ(Open(), "123");
    EXPECT_EQ(Remove("localhost"), NO_ERROR);
    EXPECT_EQ(Remove("example.org"), NO_ERROR);
    EXPECT_EQ(Open(), "");
    Address(Delete, "127.0.0.2");
    Address(Delete, "127.0.0.3");
    ASSERT_EQ(Add("*"), NO_ERROR);
    EXPECT_EQ(Open(), "123");
}

TEST_F(ListenList, WildcardAddressesAndLiteralsShareAPort)
{
    ASSERT_EQ(Add("127.0.0.2"), NO_ERROR);
    Address(Set, "0.0.0.0");
    Address(Set, "::");
    ASSERT_EQ(Add("*"), NO_ERROR);
    EXPECT_EQ(Open(), "123");
    EXPECT_EQ(Remove("*"), NO_ERROR);
    EXPECT_EQ(Open(), "2");
}

TEST_F(ListenList, AddressesOfAnotherNetworkArePassedOverUnlessThereAreNoOthers)
{
    Address(Set, "192.0.2.7");
    Address(Set, "fe80::dead");
    EXPECT_EQ(Add("+"), WSAEADDRNOTAVAIL);
    EXPECT_EQ(Open(), "");
    Address(Set, "127.0.0.3");
    EXPECT_EQ(Add("+"), NO_ERROR);
    EXPECT_EQ(Open(), "3");
}

TEST_F(ListenList, WhereItCannotBeReadNothingListens)
{
    State.Write("configuration.json", "{");
    EXPECT_EQ(Add("+"), ERROR_INVALID_DATA);
    EXPECT_EQ(Open(), "");
    EXPECT_EQ(Add("localhost"), NO_ERROR);
}

} // namespace
