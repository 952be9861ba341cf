#include "common/System.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "common/Memory.h"
#include "common/Set.h"
#include "tests/support/TemporaryFolder.h"

TEST(System, FileSizeIsThatOfFilesOnly)
{
    const Zn::TemporaryFolder Folder;
    const std::string Name = Folder.Write("size", "");
    EXPECT_EQ(ZnGetFileSize(Name), 0);
    std::filesystem::resize_file(Name, std::int64_t{5} << 30); // sparse
    EXPECT_EQ(ZnGetFileSize(Name), std::int64_t{5} << 30);
    std::filesystem::remove(Name);
    EXPECT_EQ(ZnGetFileSize(Name), -1);
    EXPECT_EQ(ZnGetFileSize(Folder.Path().string()), -1);
}

TEST(System, OnlyWebAddressesReachTheBrowser)
{
    const Zn::TemporaryFolder Folder;
    const std::string Fifo = Folder.Path("seen");
    ASSERT_EQ(std::system(("mkfifo " + Fifo).c_str()), 0);
    const std::string Browser = Folder.Write("browser", "#!/bin/sh\nprintf '%s' \"$1\" > " + Fifo + "\n");
    std::filesystem::permissions(Browser, std::filesystem::perms::owner_all);
    setenv("BROWSER", ("/no/such/browser:" + Browser).c_str(), 1);

    for (const char* Refused : {"", "file:///etc/passwd", "--version", "javascript:alert(1)", " http://x/"})
        EXPECT_FALSE(ZnShellExecOpenWebSite(Refused)) << Refused;
    ASSERT_TRUE(ZnShellExecOpenWebSite("HTTPS://host/a?b=$(c)&d='e'"));
    std::string Seen;
    std::getline(std::ifstream(Fifo), Seen); // opens when the browser does
    EXPECT_EQ(Seen, "HTTPS://host/a?b=$(c)&d='e'");
    unsetenv("BROWSER");
}

TEST(Memory, BlockLiesAtAnyAddressAndKeepsItsBytes)
{
    PZnMemoryBuffer Buffer = ZnGetMem(4);
    EXPECT_EQ(Buffer->Size, 4U);
    std::memcpy(Buffer->Bytes(), "abcd", 4);
    ZnReallocateMem(Buffer, 100000);
    EXPECT_EQ(std::memcmp(Buffer->Bytes(), "abcd", 4), 0);
    EXPECT_EQ(Buffer->Size, 100000U);
    EXPECT_EQ(ZnInt2Ptr<TZnMemoryBuffer>(ZnPtr2Int(Buffer)), Buffer);
    ZnFreeMem(Buffer);
    ZnFreeMem(nullptr);

    unsigned char Frame[] = {3, 2, 0, 0, 0, 'h', 'i'}; // a kind, then a block
    auto* Block = reinterpret_cast<PZnMemoryBuffer>(Frame + 1);
    EXPECT_EQ(Block->Size, 2U);
    EXPECT_EQ(Block->Bytes(), reinterpret_cast<std::byte*>(Frame + 5));
}

TEST(Set, HoldsValuesUpTo63)
{
    enum Letter { A, B, Z = 63 };
    TZnSet<Letter> Set{A, Z};
    EXPECT_TRUE(Set.Contains(Z));
    EXPECT_FALSE(Set.Contains(B));
    EXPECT_EQ((Set & TZnSet<Letter>{Z, B}), TZnSet<Letter>{Z});
    EXPECT_EQ((Set | TZnSet<Letter>{B}).Count(), 3);
    EXPECT_EQ((Set - TZnSet<Letter>{Z}), TZnSet<Letter>{A});
    Set.Exclude(A);
    Set.Exclude(Z);
    EXPECT_TRUE(Set.Empty());
}
