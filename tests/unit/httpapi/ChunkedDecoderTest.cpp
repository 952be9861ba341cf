#include "platform/httpapi/ChunkedDecoder.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace Zn
{
namespace
{

using State = ChunkedDecoder::State;

struct Outcome
{
    State Status = State::NeedMore;
    std::string Content;
    std::size_t Consumed = 0;
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& AOutcome, std::ostream* AOut)
{
    *AOut << static_cast<int>(AOutcome.Status) << " \"" << AOutcome.Content << "\" " << AOutcome.Consumed;
}

// Feeds pieces of AStep bytes into room for ARoom.
Outcome Decode(std::string_view ABytes, std::size_t AStep, std::size_t ARoom, ChunkedDecoder ADecoder = {})
{
    Outcome All;
    std::string Room(ARoom, '?');
    while (All.Status == State::NeedMore && All.Consumed < ABytes.size()) {
        const auto Done = ADecoder.Decode(ABytes.substr(All.Consumed, AStep), Room.data(), Room.size());
        All.Content.append(Room, 0, Done.Produced);
        All.Consumed += Done.Consumed;
        All.Status = Done.Status;
    }
    return All;
}

TEST(ChunkedDecoder, TakesTheCodingOff)
{
    struct Row
    {
        std::string_view Bytes;
        const char* Content;
    };
    const Row Rows[] = {
        {"0\r\n\r\n", ""},
        {"3\r\nabc\r\n0\r\n\r\n", "abc"},
        {"3\r\n\r\n0\r\n2\r\n\r\n\r\n0\r\n\r\n", "\r\n0\r\n"},
        {"000000000000000A\r\n0123456789\r\n1\r\nx\r\n0000000000000000\r\n\r\n", "0123456789x"},
        {"1;a\r\nx\r\n1 ; a = b;c=\"d\\\"\t\\\\;\r\"\r\n", nullptr},          // CR within quotes
        {"1;a\r\nx\r\n1 \t; a\t= b ;c=\"d\\\"\t\\\\;\xFF\";e \r\n", nullptr}, // a blank at the end
        {"1;a\r\nx\r\n1 \t; a\t= b ;c=\"d\\\"\t\\\\;\xFF\" ;e\r\ny\r\n0;f=\"\"\r\n\r\n", "xy"},
        {"0\r\nA: b\r\nC:\r\nHosts: d\xE4\r\nHos: \te\r\nContent-Length-X: 1\r\n\r\n", ""}};
    for (const Row& Each : Rows) {
        const std::string Next = std::string(Each.Bytes) + "GET";
        for (const std::size_t Step : {Next.size(), std::size_t{1}, std::size_t{2}, std::size_t{7}})
            for (const std::size_t Room : {1U, 2U, 64U}) {
                const Outcome Got = Decode(Next, Step, Room);
                if (Each.Content)
                    EXPECT_EQ(Got, (Outcome{State::Done, Each.Content, Each.Bytes.size()}))
                        << Each.Bytes << Step;
                else
                    EXPECT_EQ(Got.Status, State::Bad) << Each.Bytes << Step;
            }
        for (std::size_t Cut = 0; Each.Content && Cut < Each.Bytes.size(); ++Cut)
            EXPECT_EQ(Decode(Each.Bytes.substr(0, Cut), Cut, 64).Status, State::NeedMore)
                << Each.Bytes << Cut;
    }
}

TEST(ChunkedDecoder, RefusesWhatIsNoChunkedBody)
{
    const std::string_view Rows[] = {
        "\r\n", " 1\r\nx\r\n", "\t1\r\nx\r\n", "g\r\n", "-1\r\n", "+1\r\nx\r\n", "0x1\r\nx\r\n",
        "1x\r\nx\r\n", "1 \r\nx\r\n", "1\t\r\nx\r\n", "1 1\r\nx\r\n", "1,\r\nx\r\n", "1.\r\nx\r\n", ";a\r\n",
        "1\nx\r\n", "1\rx\r\n", "1\r\rx\r\n", "1\n\rx\r\n", "8000000000000000\r\n", "10000000000000000\r\n",
        "00000000000000001\r\n", "FFFFFFFFFFFFFFFF\r\n",
        // the content and its end
        "1\r\nxy\r\n0\r\n\r\n", "1\r\nx\n0\r\n\r\n", "1\r\nx\r0\r\n\r\n", "1\r\nx0\r\n\r\n",
        "3\r\nab\r\n0\r\n\r\n", "1\r\nx\r\n\r\n0\r\n\r\n",
        // extensions
        "1;\r\nx\r\n", "1; \r\nx\r\n", "1;;a\r\nx\r\n", "1;=b\r\nx\r\n", "1;a=\r\nx\r\n", "1;a= \r\nx\r\n",
        "1;a==b\r\nx\r\n", "1;a=b c\r\nx\r\n", "1;a=b \r\nx\r\n", "1;a b\r\nx\r\n", "1;a=\"b\r\nx\r\n",
        "1;a=\"b\"c\r\nx\r\n", "1;a=\"b\" \r\nx\r\n", "1;a=\"\n\"\r\nx\r\n", "1;a=\"\\\n\"\r\nx\r\n",
        "1;a=b\nx\r\n", "1;a\nx\r\n", "1;\x01\r\nx\r\n", "1;a=\xC3\r\nx\r\n", "1;(\r\nx\r\n",
        // the end and trailers
        "0\n\n", "0\r\n\n", "0\r\n\r\r", "0\r\nX\r\n\r\n", "0\r\n: a\r\n\r\n", "0\r\nX : a\r\n\r\n",
        "0\r\n X: a\r\n\r\n", "0\r\nX: a\r\n b\r\n\r\n", "0\r\nX: a\n\r\n", "0\r\nX: a\rY: b\r\n\r\n",
        "0\r\nX: \x7F\r\n\r\n", "0\r\nX/Y: a\r\n\r\n", "0\r\nContent-Length: 5\r\n\r\n",
        "0\r\nA: b\r\ntransfer-ENCODING: chunked\r\n\r\n", "0\r\nhost:a\r\n\r\n",
        "0\r\nGET / HTTP/1.1\r\nHost: a\r\n\r\n"};
    for (const std::string_view Each : Rows) {
        const Outcome Whole = Decode(Each, Each.size(), 64);
        EXPECT_EQ(Whole.Status, State::Bad) << Each;
        for (std::size_t Step = 1; Step < Each.size(); ++Step)
            EXPECT_EQ(Decode(Each, Step, 1), Whole) << Each << Step;
    }
}

TEST(ChunkedDecoder, BoundsWhatItDrops)
{
    const auto Run = [](std::string_view ABytes) {
        return Decode(ABytes, 3, 64, ChunkedDecoder({6, 8})).Status;
    };
    EXPECT_EQ(Run("1;a\r\nx\r\n1;abc\r\nx\r\n0\r\n\r\n"), State::Done);
    EXPECT_EQ(Run("1;a\r\nx\r\n1;abcd\r\nx\r\n0\r\n\r\n"), State::Bad);
    EXPECT_EQ(Run("1;a\r\nx\r\n1;a=\"\"\"\r\nx\r\n0\r\n\r\n"), State::Bad);
    EXPECT_EQ(Run("0\r\nA:\r\nB:\r\n\r\n"), State::Done);
    EXPECT_EQ(Run("0\r\nA:\r\nB:1\r\n\r\n"), State::Bad);
}

TEST(ChunkedDecoder, LetsContentPassItBy)
{
    ChunkedDecoder Decoder;
    std::array<char, 4> Room{};
    auto Done = Decoder.Decode("A\r\n0123", nullptr, 0);
    EXPECT_EQ(Done.Consumed, 3U);
    EXPECT_EQ(Decoder.DataRemaining(), 10U);
    Done = Decoder.Decode("0123", Room.data(), Room.size());
    EXPECT_EQ(Done.Produced, 4U);
    EXPECT_EQ(Decoder.DataRemaining(), 6U);
    Decoder.DataConsumed(6);
    EXPECT_EQ(Decoder.DataRemaining(), 0U);
    Done = Decoder.Decode("\r\n0\r\n\r\n", nullptr, 0);
    EXPECT_EQ(Done.Status, State::Done);
    EXPECT_EQ(Done.Consumed, 7U);
}

} // namespace
} // namespace Zn
