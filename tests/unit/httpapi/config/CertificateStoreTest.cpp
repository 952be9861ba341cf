#include "platform/httpapi/config/CertificateStore.h"

#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <sys/stat.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/config/SelfSigned.h"
#include "tests/support/TemporaryState.h"

namespace Zn
{
namespace
{

CertificateContent SelfSigned(const std::string& AHost)
{
    std::string Pem;
    CertificateContent Result;
    EXPECT_EQ(MakeSelfSigned(AHost, 30, Pem), NO_ERROR);
    EXPECT_TRUE(ReadCertificateText(Pem, Result));
    return Result;
}

std::string UnderPassword(const std::string& AKey)
{
    const BioPtr In(BIO_new_mem_buf(AKey.data(), static_cast<int>(AKey.size())));
    const BioPtr Out(BIO_new(BIO_s_mem()));
    const KeyPtr Key(PEM_read_bio_PrivateKey(In.get(), nullptr, nullptr, nullptr));
    PEM_write_bio_PKCS8PrivateKey(Out.get(), Key.get(), EVP_aes_128_cbc(), "x", 1, nullptr, nullptr);
    char* Data = nullptr;
    const long Length = BIO_get_mem_data(Out.get(), &Data);
    return {Data, static_cast<std::size_t>(Length)};
}

class Certificates : public testing::Test
{
protected:
    std::uint32_t Load(const std::string& AThumbprint, const std::string& AStore = "my")
    {
        return LoadCertificate(AStore, AThumbprint, Loaded);
    }

    const TemporaryState State;
    const CertificateContent Own = SelfSigned("www.example.org");
    const CertificateContent Other = SelfSigned("*.example.net");
    PemFiles Loaded;
    std::string Thumbprint;
};

TEST_F(Certificates, AreFoundByThumbprintInAnyOrderOfTheText)
{
    // The key tells which of two certificates is the server's; the other one is its chain.
    const std::string Text = Other.Pem.Certificate + Own.Pem.Key + Own.Pem.Certificate;
    ASSERT_EQ(CertificateStore::Add("Web Farm", Text, Thumbprint), NO_ERROR);
    EXPECT_EQ(Thumbprint, Own.Thumbprint);
    ASSERT_EQ(Load(Thumbprint, "web farm"), NO_ERROR);
    EXPECT_EQ(Loaded.Certificate, Own.Pem.Certificate + Other.Pem.Certificate);
    EXPECT_EQ(Loaded.Key, Own.Pem.Key);
    EXPECT_EQ(Load(Thumbprint), ERROR_NO_SUCH_LOGON_SESSION); // another store
    EXPECT_EQ(Loaded.Key, "");

    struct stat Status
    {
    };
    ASSERT_EQ(stat((State.Path() / "certificates/web farm" / (Thumbprint + ".pem")).c_str(), &Status), 0);
    EXPECT_EQ(Status.st_mode & 0777, 0600U);
    ASSERT_EQ(stat((State.Path() / "certificates").c_str(), &Status), 0);
    EXPECT_EQ(Status.st_mode & 0777, 0700U);
}

TEST_F(Certificates, MayBePutIntoTheFolderByHand)
{
    State.Write("certificates/my/site.pem", Own.Pem.Key + Own.Pem.Certificate);
    State.Write("certificates/my/broken.pem", "-----BEGIN CERTIFICATE-----\nAAAA\n");
    State.Write("certificates/my/no-key.pem", Other.Pem.Certificate);
    State.Write("certificates/my/notes.txt", Other.Pem.Certificate + Other.Pem.Key);
    EXPECT_EQ(Load(Own.Thumbprint), NO_ERROR);
    EXPECT_EQ(Load(Other.Thumbprint), ERROR_NO_SUCH_LOGON_SESSION);
    const auto All = CertificateStore::List("");
    ASSERT_EQ(All.size(), 2U);
    EXPECT_EQ(All[0].File, "no-key.pem");
    EXPECT_EQ(All[1].Content.Names, "www.example.org");
    ASSERT_EQ(LoadAllCertificates("my").size(), 1U); // for SNI: what has a key
    EXPECT_EQ(CertificateStore::Remove("my", Own.Thumbprint), NO_ERROR);
    EXPECT_EQ(CertificateStore::Remove("my", Own.Thumbprint), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Load(Own.Thumbprint), ERROR_NO_SUCH_LOGON_SESSION);
}

TEST_F(Certificates, WithoutTheirKeyAreRefused)
{
    const auto Add = [&](const std::string& AText) { return CertificateStore::Add("my", AText, Thumbprint); };
    EXPECT_EQ(Add(Own.Pem.Certificate), ERROR_NO_SUCH_LOGON_SESSION);
    EXPECT_EQ(Add(Own.Pem.Certificate + Other.Pem.Key), ERROR_NO_SUCH_LOGON_SESSION);
    EXPECT_EQ(Add(Own.Pem.Certificate + UnderPassword(Own.Pem.Key)), ERROR_NO_SUCH_LOGON_SESSION);
    EXPECT_EQ(Add(Own.Pem.Key), ERROR_INVALID_DATA);
    EXPECT_EQ(Add("hello"), ERROR_INVALID_DATA);
    EXPECT_FALSE(std::filesystem::exists(State.Path() / "certificates"));
}

TEST_F(Certificates, StoreNamesAreNoPaths)
{
    const std::string Text = Own.Pem.Certificate + Own.Pem.Key;
    for (const std::string Name : {"..", ".", "../my", "my/..", "/tmp", "a/b", "a\\b", ".hidden", "x.", " my",
                                   "my ", "a\nb", "\xc3\xbc", "a*"}) {
        EXPECT_EQ(CertificateStore::Add(Name, Text, Thumbprint), ERROR_INVALID_NAME) << Name;
        EXPECT_EQ(Load(Own.Thumbprint, Name), ERROR_INVALID_NAME) << Name;
        EXPECT_EQ(CertificateStore::Remove(Name, Own.Thumbprint), ERROR_INVALID_NAME) << Name;
        EXPECT_TRUE(CertificateStore::List(Name).empty()) << Name;
    }
    EXPECT_EQ(CertificateStore::Add(std::string(65, 'a'), Text, Thumbprint), ERROR_INVALID_NAME);
    EXPECT_EQ(CertificateStore::Add(std::string("a\0b", 3), Text, Thumbprint), ERROR_INVALID_NAME);
    State.Write("outside.pem", Text);
    EXPECT_EQ(Load("../../outside"), ERROR_NO_SUCH_LOGON_SESSION);
    EXPECT_EQ(Load(""), ERROR_NO_SUCH_LOGON_SESSION);
}

TEST_F(Certificates, SelfSignedOnesAreForOneHostAndAPeriod)
{
    std::string Pem;
    EXPECT_EQ(SelfSigned("127.0.0.1").Names, "127.0.0.1");
    EXPECT_EQ(SelfSigned("::1").Names, "::1");
    const std::string Long =
        std::string(60, 'a') + "." + std::string(60, 'b') + ".example"; // beyond a common name's 64
    EXPECT_EQ(SelfSigned(Long).Names, Long);
    EXPECT_EQ(Own.NotAfter - Own.NotBefore, 30 * 86400 - 1);
    EXPECT_EQ(Own.Subject, "CN=www.example.org");
    EXPECT_NE(SelfSigned("www.example.org").Thumbprint, Own.Thumbprint);
    for (const char* Host :
         {"", "a b", "a,DNS:b", "-a", ".a", "a..b", "a.", "*.", "x*", "fe80::1%1", "a\nb", "\xc3\xbc"})
        EXPECT_EQ(MakeSelfSigned(Host, 1, Pem), ERROR_INVALID_PARAMETER) << Host;
    EXPECT_EQ(MakeSelfSigned("a", 0, Pem), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(MakeSelfSigned("a", 36501, Pem), ERROR_INVALID_PARAMETER);
}

} // namespace
} // namespace Zn
