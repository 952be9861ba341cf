#include "uZnNamedPipes/Frames.h"

#include <string>

#include <gtest/gtest.h>

namespace
{

using Zn::FrameKind;
using std::string_literals::operator""s;

std::span<const std::byte> Bytes(const std::string& AText)
{
    return std::as_bytes(std::span(AText));
}

template <class THead>
std::string Frame(const THead& AHead, const std::string& APayload)
{
    return std::string(reinterpret_cast<const char*>(AHead.data()), AHead.size()) + APayload;
}

const std::string cStart = "\x00\xFF\xFF\x00"s;

} // namespace

TEST(Frames, StandOnTheWireByteByByte)
{
    EXPECT_EQ(Frame(Zn::MakeDataHead(btUTF8, 3), "abc"), "\x00\xFF\xFF\x00\x05\x02\x03\x00\x00\x00"
                                                         "abc"s);
    EXPECT_EQ(Frame(Zn::MakeCommandHead(dtCmdRequest, 1, btUTF8, 3), "abc"),
              "\x00\xFF\xFF\x00\x03\x01\x00\x00\x00\x00\x00\x00\x00\x02\x03\x00\x00\x00"
              "abc"s);
    EXPECT_EQ(Frame(Zn::MakePingRequest(1.5), ""),
              cStart + "\x01\x00\x00\x00\x00\x00\x00\xF8\x3F"s + std::string(8, '\0'));
    EXPECT_EQ(Frame(Zn::MakeNetworkCheck(1.5), ""), cStart + "\x00\x00\x00\x00\x00\x00\x00\xF8\x3F"s);

    auto Ping = Zn::MakePingRequest(2);
    Zn::MakePingResponse(Ping.data(), 3);
    EXPECT_EQ(Zn::RecogniseFrame(Ping), FrameKind::PingResponse);
    EXPECT_EQ(Zn::PingSendOn(Ping.data()), 2);
    EXPECT_EQ(Zn::PingReceivedOn(Ping.data()), 3);
}

TEST(Frames, AreTypedOnlyWhereEveryByteFits)
{
    const auto Fixed = [](char AType, std::size_t ALength) {
        return cStart + AType + std::string(ALength - 5, '\1');
    };
    const auto Block = [](std::size_t AOffset, char AType, std::uint32_t ASize, std::size_t APayload) {
        std::string Result = cStart + AType + std::string(AOffset - 5, '\1') + '\0';
        Result.append(reinterpret_cast<const char*>(&ASize), sizeof(ASize));
        return Result + std::string(APayload, 'x');
    };
    const struct
    {
        const char* Name;
        std::string Frame;
        FrameKind Kind;
    } Cases[] = {
        {"empty", "", FrameKind::Raw},
        {"nine bytes", cStart + "\5\1\1\1\1", FrameKind::Raw},
        {"no signature", "0123456789abc", FrameKind::Raw},
        {"check", Fixed(0, 13), FrameKind::NetworkCheck},
        {"long check", Fixed(0, 14), FrameKind::Raw},
        {"short check", Fixed(0, 12), FrameKind::Raw},
        {"ping", Fixed(1, 21), FrameKind::PingRequest},
        {"short ping", Fixed(1, 20), FrameKind::Raw},
        {"answer", Fixed(2, 21), FrameKind::PingResponse},
        {"long answer", Fixed(2, 22), FrameKind::Raw},
        {"type above the range", Fixed(6, 21), FrameKind::Raw},
        {"type 255", Fixed('\xFF', 21), FrameKind::Raw},
        {"data", Block(5, 5, 3, 3), FrameKind::Data},
        {"data without payload", Block(5, 5, 0, 0), FrameKind::Raw},
        {"data one byte long", Block(5, 5, 3, 4), FrameKind::Data},
        {"data one byte short", Block(5, 5, 3, 2), FrameKind::Raw},
        {"data of 2^31", Block(5, 5, 0x80000000, 3), FrameKind::Raw},
        {"data of 2^32 - 1", Block(5, 5, 0xFFFFFFFF, 3), FrameKind::Raw},
        {"command", Block(13, 3, 1, 1), FrameKind::CmdRequest},
        {"command without payload", Block(13, 3, 0, 0), FrameKind::Raw},
        {"command one byte short", Block(13, 3, 2, 1), FrameKind::Raw},
        {"response", Block(13, 4, 2, 2), FrameKind::CmdResponse},
        {"response of 2^32 - 1", Block(13, 4, 0xFFFFFFFF, 9), FrameKind::Raw},
    };
    for (const auto& Case : Cases)
        EXPECT_EQ(Zn::RecogniseFrame(Bytes(Case.Frame)), Case.Kind) << Case.Name;
}
