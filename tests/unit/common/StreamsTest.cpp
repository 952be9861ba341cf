#include "common/Streams.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

#include <gtest/gtest.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

using Zn::TemporaryFolder;

std::string Content(TStream& AStream)
{
    return ZnStreamToAnsiString(AStream);
}

void WriteText(TStream& AStream, std::string_view AText)
{
    AStream.WriteBuffer(AText.data(), static_cast<std::int64_t>(AText.size()));
}

struct Kind
{
    const char* Name;
    std::function<std::unique_ptr<TStream>(const TemporaryFolder&)> Make;
};

void PrintTo(const Kind& AKind, std::ostream* AOut)
{
    *AOut << AKind.Name;
}

/// What holds for every stream.
class AnyStream : public testing::TestWithParam<Kind>
{
protected:
    TemporaryFolder FFolder;
    std::unique_ptr<TStream> FStream = GetParam().Make(FFolder);
};

} // namespace

TEST_P(AnyStream, ReadsShortAtTheEnd)
{
    TStream& Stream = *FStream;
    WriteText(Stream, "0123456789");
    EXPECT_EQ(Stream.GetSize(), 10);
    EXPECT_EQ(Stream.Seek(-3, soEnd), 7);
    char Buffer[8] = {};
    EXPECT_EQ(Stream.Read(Buffer, 8), 3);
    EXPECT_STREQ(Buffer, "789");
    EXPECT_EQ(Stream.Read(Buffer, 8), 0);
    Stream.SetPosition(8);
    EXPECT_THROW(Stream.ReadBuffer(Buffer, 3), EReadError);
    EXPECT_THROW(Stream.SetPosition(-1), EStreamError);
}

TEST_P(AnyStream, WriteBehindTheEndFillsWithZeros)
{
    TStream& Stream = *FStream;
    Stream.SetSize(100);
    Stream.SetPosition(0);
    WriteText(Stream, std::string(100, 'x'));
    Stream.SetSize(2); // bytes that were there before must not come back
    Stream.SetPosition(5);
    char Byte;
    EXPECT_EQ(Stream.Read(&Byte, 1), 0);
    EXPECT_EQ(Stream.GetPosition(), 5);
    WriteText(Stream, "y");
    EXPECT_EQ(Content(Stream), std::string("xx\0\0\0y", 6));
}

TEST_P(AnyStream, SetSizeMovesAPositionBehindTheNewEnd)
{
    TStream& Stream = *FStream;
    WriteText(Stream, "0123456789");
    Stream.SetSize(4);
    EXPECT_EQ(Stream.GetPosition(), 4);
    EXPECT_EQ(Content(Stream), "0123");
    Stream.SetPosition(1);
    Stream.SetSize(20);
    EXPECT_EQ(Stream.GetPosition(), 1);
    EXPECT_EQ(Stream.GetSize(), 20);
    Stream.SetSize(0);
    EXPECT_EQ(Content(Stream), "");
    EXPECT_THROW(Stream.SetSize(-1), EStreamError);
}

TEST_P(AnyStream, CopiesAllOrAPart)
{
    TStream& Stream = *FStream;
    std::string Text;
    for (int i = 0; i < 50000; ++i)
        Text += std::to_string(i);
    TStringStream Source(Text);
    Source.SetPosition(99);
    EXPECT_EQ(Stream.CopyFrom(Source), static_cast<std::int64_t>(Text.size()));
    EXPECT_EQ(Content(Stream), Text);
    Stream.SetSize(0);
    Source.SetPosition(10);
    EXPECT_EQ(Stream.CopyFrom(Source, 5), 5);
    EXPECT_EQ(Content(Stream), Text.substr(10, 5));
    EXPECT_THROW(Stream.CopyFrom(Source, static_cast<std::int64_t>(Text.size())), EReadError);
}

TEST_P(AnyStream, GivesItsBytesForReading)
{
    TStream& Stream = *FStream;
    WriteText(Stream, "body");
    Stream.SetPosition(2);
    const void* Bytes = nullptr;
    std::int64_t Length = 0;
    bool MustFree = ZnStreamToReadBuf(Stream, Bytes, Length);
    EXPECT_EQ(MustFree, dynamic_cast<TFileStream*>(&Stream) != nullptr);
    EXPECT_EQ(std::string_view(static_cast<const char*>(Bytes), static_cast<std::size_t>(Length)), "body");
    EXPECT_EQ(Stream.GetPosition(), 2);
    if (MustFree)
        ZnFreeReadBuf(Bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, AnyStream,
    testing::Values(Kind{"Memory",
                         [](const TemporaryFolder&) { return std::make_unique<TZnMemoryStream>(16); }},
                    Kind{"Text", [](const TemporaryFolder&) { return std::make_unique<TZnStringStream>(); }},
                    Kind{"File",
                         [](const TemporaryFolder& AFolder) {
                             return std::make_unique<TFileStream>(AFolder.Path("stream"), fmCreate);
                         }}),
    [](const auto& AInfo) { return std::string(AInfo.param.Name); });

TEST(MemoryStream, SetSizeOfALargeBodyTouchesNoMemory)
{
    auto ResidentPages = [] {
        std::size_t Total = 0, Resident = 0;
        std::unique_ptr<FILE, decltype(&std::fclose)> File(std::fopen("/proc/self/statm", "r"), &std::fclose);
        EXPECT_EQ(std::fscanf(File.get(), "%zu %zu", &Total, &Resident), 2);
        return Resident;
    };
    const std::size_t Before = ResidentPages();
    TZnStringStream Stream;
    Stream.SetSize(100 << 20);
    EXPECT_LT(ResidentPages() - Before, 1024U);
}

TEST(MemoryStream, RefusesWhatNoMemoryHolds)
{
    TMemoryStream Stream;
    WriteText(Stream, "kept");
    EXPECT_THROW(Stream.Reserve(INT64_MAX), EOutOfMemory);
    EXPECT_THROW(Stream.SetSize(INT64_MAX), EOutOfMemory);
    EXPECT_EQ(Content(Stream), "kept");
    EXPECT_EQ(Stream.GetSize(), 4);
}

TEST(MemoryStream, LaidOverBytesIsReadOnly)
{
    const char Text[] = "borrowed";
    TZnMemoryStream Stream(std::as_bytes(std::span(Text, 8)));
    EXPECT_EQ(Content(Stream), "borrowed");
    EXPECT_EQ(static_cast<const void*>(Stream.Memory()), Text);
    Stream.SetPosition(0);
    EXPECT_THROW(WriteText(Stream, "x"), EStreamError);
    EXPECT_THROW(Stream.SetSize(2), EStreamError);
    EXPECT_THROW(Stream.Clear(), EStreamError);
}

TEST(StringStream, TextIsInTheCodePage)
{
    TZnStringStream Latin(28591);
    Latin.SetAsString("h\xC3\xB6he");
    EXPECT_EQ(Latin.GetAString(), "h\xF6he");
    EXPECT_EQ(Latin.GetAsString(), "h\xC3\xB6he");
    EXPECT_EQ(Latin.GetPosition(), 0);
    EXPECT_EQ(ZnStreamToAnsiString(Latin, 28591), "h\xC3\xB6he");

    TZnStringStream Unknown(12345);
    WriteText(Unknown, "bytes");
    EXPECT_THROW(Unknown.SetAsString("x"), EConvertError);
    EXPECT_EQ(Unknown.GetAString(), "bytes");
}

TEST(FileStream, TellsWhyItDoesNotOpen)
{
    TemporaryFolder Folder;
    const std::string Missing = Folder.Path("missing");
    try {
        TFileStream Stream(Missing, fmOpenRead | fmShareDenyNone);
        FAIL();
    } catch (const EFileNotFoundException& Error) {
        EXPECT_EQ(Error.Message(),
                  "Cannot open file \"" + Missing + "\". The system cannot find the file specified.");
    }
    EXPECT_THROW(TFileStream(Folder.Path("missing"), fmOpenWrite), EFileNotFoundException);
    EXPECT_THROW(TFileStream(Folder.Path(""), fmOpenRead), EFOpenError);
    EXPECT_THROW(TFileStream(Folder.Path("no/such/folder"), fmCreate), EFCreateError);
}

TEST(FileStream, ModesGiveTheirRightsOnly)
{
    TemporaryFolder Folder;
    char Byte = 'z';
    {
        TFileStream Created(Folder.Path("f"), fmCreate);
        WriteText(Created, "abc");
        Created.SetPosition(0);
        EXPECT_EQ(Created.Read(&Byte, 1), 1);
    }
    {
        TFileStream Reader(Folder.Path("f"), fmOpenRead | fmShareDenyNone);
        EXPECT_EQ(Reader.GetSize(), 3);
        EXPECT_THROW(Reader.WriteBuffer(&Byte, 1), EWriteError);
    }
    {
        TFileStream Writer(Folder.Path("f"), fmOpenWrite);
        EXPECT_EQ(Writer.Read(&Byte, 1), 0);
        WriteText(Writer, "X");
    }
    TFileStream Both(Folder.Path("f"), fmOpenReadWrite);
    EXPECT_EQ(Content(Both), "Xbc");
    TFileStream Emptied(Folder.Path("f"), fmCreate);
    EXPECT_EQ(Both.GetSize(), 0);
}
