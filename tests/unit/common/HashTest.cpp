#include "common/Hash.h"

#include <gtest/gtest.h>

#include "common/Exceptions.h"

namespace
{

TEST(Hash, GivesThePublishedDigests)
{
    // RFC 1321, A.5; FIPS 180-4 examples; RFC 4231, test case 2.
    EXPECT_EQ(MD5Hash(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(MD5Hash("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(THashSHA2::GetHashString(""),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(THashSHA2::GetHashString("abc"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(THashSHA2::DigestAsString(THashSHA2::GetHMACAsBytes("what do ya want for nothing?", "Jefe")),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

TEST(Hash, PiecesGiveTheSameAsTheWhole)
{
    THashSHA2 Hash;
    Hash.Update("a");
    Hash.Update("");
    Hash.Update("bc");
    EXPECT_EQ(Hash.HashAsString(), THashSHA2::GetHashString("abc"));
    EXPECT_EQ(Hash.HashAsBytes(), THashSHA2::GetHashBytes("abc")) << "may be asked for again";
    EXPECT_THROW(Hash.Update("d"), EAssertionFailed);
}

TEST(Hash, ComparesSecrets)
{
    EXPECT_TRUE(ZnSameSecret("", ""));
    EXPECT_TRUE(ZnSameSecret("abc", "abc"));
    EXPECT_FALSE(ZnSameSecret("abc", "abd"));
    EXPECT_FALSE(ZnSameSecret("abc", "ab"));
}

} // namespace
