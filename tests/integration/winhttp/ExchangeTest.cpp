// One request after the other: what goes out, what comes back, what is told about it.

#include "tests/integration/winhttp/Exchange.h"

#include <chrono>

#include <gtest/gtest.h>

#include "tests/support/ScriptedPeer.h"

namespace
{

void EchoHeads(PeerConnection& APeer)
{
    for (std::string Head; !(Head = APeer.ReadHead()).empty();)
        APeer.Answer(Head);
}

std::string HeadOf(std::string_view AVerb, std::string_view ATarget, std::uint32_t AFlags = 0)
{
    ScriptedPeer Peer(EchoHeads);
    Client Client(Peer.Port());
    const Handle Request = Client.Open(AVerb, ATarget, AFlags);
    return Send(Request) == 0 ? ReadAll(Request) : "error " + std::to_string(GetLastError());
}

TEST(Exchange, SendsNothingThatWasNotAskedFor)
{
    ScriptedPeer Peer(EchoHeads);
    Client Client(Peer.Port());
    const Handle Request = Client.Open("GET", "/a?b=c");
    ASSERT_EQ(Send(Request), 0u);
    const std::string Expected = "GET /a?b=c HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(Peer.Port()) +
                                 "\r\nUser-Agent: Agent/1\r\n\r\n";
    EXPECT_EQ(ReadAll(Request), Expected);
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_RAW_HEADERS_CRLF | WINHTTP_QUERY_FLAG_REQUEST_HEADERS), Expected);
}

TEST(Exchange, ToldPartsOfTheHeadAreThoseThatCame)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        APeer.ReadHead();
        APeer.Send("HTTP/1.1 100 Continue\r\nX: no\r\n\r\nHTTP/1.0 299  Fine \r\nA: 1\r\nb:two\r\n "
                   "three\r\nA: \xC3\xA4\r\n"
                   "C: \xE4\r\nContent-Length: 2\r\n\r\nok");
    });
    Client Client(Peer.Port());
    const Handle Request = Client.Open("GET", "/");
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_STATUS_CODE), "299");
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_STATUS_TEXT), "Fine");
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_VERSION), "HTTP/1.0");
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_CUSTOM, "a"), "1");
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_CUSTOM, "A", 1), "\xC3\xA4");
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_CUSTOM, "C"), "\xC3\xA4"); // no UTF-8: ISO 8859-1
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_CUSTOM, "B"), "two three");
    EXPECT_EQ(Query(Request, WINHTTP_QUERY_CUSTOM, "A", 2), "");
    EXPECT_EQ(GetLastError(), ERROR_WINHTTP_HEADER_NOT_FOUND);
    EXPECT_TRUE(Query(Request, WINHTTP_QUERY_RAW_HEADERS_CRLF)
                    .starts_with("HTTP/1.0 299  Fine \r\nA: 1\r\nb:two three\r\n"));
    std::uint32_t Length = 0;
    std::uint32_t Size = sizeof Length;
    EXPECT_TRUE(WinHttpQueryHeaders(Request, 536870917, nullptr, &Length, &Size, nullptr));
    EXPECT_EQ(Length, 2u);
    EXPECT_EQ(ReadAll(Request), "ok");
}

TEST(Exchange, KeepAliveFollowsTheConnectionHandle)
{
    ScriptedPeer Peer(EchoHeads);
    Client Client(Peer.Port());
    for (int Round = 0; Round < 3; ++Round) {
        const Handle Request = Client.Open("GET", "/");
        ASSERT_EQ(Send(Request), 0u);
        ReadAll(Request);
    }
    EXPECT_EQ(Peer.Connections(), 1);
    Handle First = Client.Open("GET", "/");
    ASSERT_EQ(Send(First), 0u); // complete, though nobody has read it yet: its connection is free
    const Handle Second = Client.Open("GET", "/");
    ASSERT_EQ(Send(Second), 0u);
    EXPECT_EQ(Peer.Connections(), 1);
    EXPECT_TRUE(ReadAll(First).starts_with("GET / "));
    const Handle Other(WinHttpConnect(Client.Session, u"127.0.0.1", Peer.Port(), 0));
    const Handle Third(WinHttpOpenRequest(Other, nullptr, nullptr, nullptr, nullptr, nullptr, 0));
    ASSERT_EQ(Send(Third), 0u);
    EXPECT_EQ(Peer.Connections(), 2);
}

TEST(Exchange, RequestTargetsAreEscapedAsTheFlagsSay)
{
    EXPECT_TRUE(
        HeadOf("GET", "/a b%20\xC3\xA4?x y\"#gone").starts_with("GET /a%20b%20%C3%A4?x%20y%22 HTTP/1.1\r\n"));
    EXPECT_TRUE(HeadOf("GET", "/100%", WINHTTP_FLAG_ESCAPE_PERCENT).starts_with("GET /100%25 "));
    EXPECT_TRUE(
        HeadOf("GET", "/{a}?{b}", WINHTTP_FLAG_ESCAPE_DISABLE_QUERY).starts_with("GET /%7Ba%7D?{b} "));
    EXPECT_TRUE(HeadOf("GET", "x/../y").starts_with("GET /x/../y "));
    EXPECT_TRUE(HeadOf("GET", "").starts_with("GET / "));
    EXPECT_TRUE(HeadOf("OPTIONS", "*").starts_with("OPTIONS * "));
}

TEST(Exchange, WhatCouldPassForTwoLinesIsRefusedBeforeAnythingIsSent)
{
    ScriptedPeer Peer(EchoHeads);
    Client Client(Peer.Port());
    for (const char* Target : {"/a\r\nX: y", "/a\nb", "/\x7F"}) {
        EXPECT_EQ(Client.Open("GET", Target), nullptr) << Target;
        EXPECT_EQ(GetLastError(), ERROR_WINHTTP_INVALID_URL) << Target;
    }
    EXPECT_EQ(Client.Open("GE T", "/"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    const Handle Request = Client.Open("GET", "/");
    for (const char* Lines : {"A: b\nC: d", "A: b\rC: d", "A b: c", "no colon", ": x", "A: b\r\nbad"})
        EXPECT_FALSE(AddHeaders(Request, Lines)) << Lines;
    EXPECT_FALSE(WinHttpAddRequestHeaders(Request, u"A: b\0c", 6, WINHTTP_ADDREQ_FLAG_ADD));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(ReadAll(Request).find("A: b"), std::string::npos);
    EXPECT_EQ(WinHttpConnect(Client.Session, u"a b", 80, 0), nullptr);
    EXPECT_EQ(WinHttpConnect(Client.Session, u"a/b", 80, 0), nullptr);
}

TEST(Exchange, HeaderModifiers)
{
    ScriptedPeer Peer(EchoHeads);
    Client Client(Peer.Port());
    const Handle Request = Client.Open("GET", "/");
    EXPECT_TRUE(AddHeaders(Request, "A: 1\r\nB: 2\r\nA: 3\r\n"));
    EXPECT_TRUE(AddHeaders(Request, "a: 4", WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE));
    EXPECT_TRUE(AddHeaders(Request, "B:", WINHTTP_ADDREQ_FLAG_REPLACE));
    EXPECT_FALSE(AddHeaders(Request, "B:", WINHTTP_ADDREQ_FLAG_REPLACE));
    EXPECT_EQ(GetLastError(), ERROR_WINHTTP_HEADER_NOT_FOUND);
    EXPECT_FALSE(AddHeaders(Request, "A: 9", WINHTTP_ADDREQ_FLAG_ADD_IF_NEW));
    constexpr std::uint32_t cCookie = WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON;
    EXPECT_TRUE(AddHeaders(Request, "Cookie: x=1", cCookie));
    EXPECT_TRUE(AddHeaders(Request, "Cookie: y=2", cCookie));
    EXPECT_TRUE(AddHeaders(Request, "Empty:"));
    ASSERT_EQ(Send(Request), 0u);
    const std::string Head = ReadAll(Request);
    EXPECT_NE(Head.find("\r\nA: 4\r\nA: 3\r\n"), std::string::npos) << Head;
    EXPECT_EQ(Head.find("B:"), std::string::npos);
    EXPECT_NE(Head.find("Cookie: x=1; y=2\r\n"), std::string::npos) << Head;
    EXPECT_NE(Head.find("\r\nEmpty:"), std::string::npos) << Head;
}

void EchoBodies(PeerConnection& APeer)
{
    for (std::string Head; !(Head = APeer.ReadHead()).empty();) {
        const std::size_t Length = Head.find("Content-Length: ");
        APeer.Answer(Length == std::string::npos ? Head
                                                 : APeer.ReadBytes(std::stoull(Head.substr(Length + 16))));
    }
}

TEST(Exchange, BodiesOfAllSizesComeThrough)
{
    ScriptedPeer Peer(EchoBodies);
    Client Client(Peer.Port());
    for (const std::size_t Size : {1u, 1000u, 61439u, 61440u, 61441u, 100'000u, 3'000'000u}) {
        std::string Body(Size, '\0');
        for (std::size_t At = 0; At < Size; ++At)
            Body[At] = static_cast<char>(At * 31 + At / 251);
        const Handle Request = Client.Open("PUT", "/");
        ASSERT_EQ(Send(Request, Body), 0u) << Size;
        EXPECT_EQ(ReadAll(Request), Body) << Size;
    }
    const Handle Empty = Client.Open("POST", "/");
    ASSERT_EQ(Send(Empty), 0u);
    EXPECT_EQ(Query(Empty, WINHTTP_QUERY_CONTENT_LENGTH), "0");
    EXPECT_EQ(Peer.Connections(), 1);
}

TEST(Exchange, BytesThatWaitInTheSocketAreToldAndReadInOneCall)
{
    constexpr std::size_t cLength = 200'000;
    constexpr std::uint32_t cMoreThanTheEngineHolds = 90'000;
    std::string Sent(cLength + 100'000, '\0'); // too much, and none of that is the body's
    for (std::size_t At = 0; At < Sent.size(); ++At)
        Sent[At] = static_cast<char>(At * 31 + At / 251);
    ScriptedPeer Peer([&Sent](PeerConnection& APeer) {
        APeer.ReadHead();
        APeer.Send("HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n" + Sent);
        APeer.WaitForEnd();
    });
    Client Client(Peer.Port());
    const Handle Request = Client.Open("GET", "/");
    ASSERT_EQ(Send(Request), 0u);
    std::uint32_t Available = 0;
    const auto Limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Available < cMoreThanTheEngineHolds && std::chrono::steady_clock::now() < Limit)
        ASSERT_TRUE(WinHttpQueryDataAvailable(Request, &Available));
    ASSERT_GE(Available, cMoreThanTheEngineHolds);
    std::string Got(Available, '\0');
    std::uint32_t Read = 0;
    ASSERT_TRUE(WinHttpReadData(Request, Got.data(), Available, &Read));
    EXPECT_EQ(Read, Available);
    EXPECT_TRUE(Got + ReadAll(Request) == Sent.substr(0, cLength));
}

/// Counts up to Size; fails where it is told to.
struct Source
{
    std::size_t Size;
    std::size_t Given = 0;
    std::size_t FailAt = ~std::size_t{0};
    int Rewinds = 0;

    TZnHttpBodySource Option(std::uint64_t ATotal, bool ACanRewind = true)
    {
        return {this, ATotal,
                [](void* ASelf, void* ABuffer, std::size_t ARoom) -> std::int64_t {
                    auto& Self = *static_cast<Source*>(ASelf);
                    if (Self.Given >= Self.FailAt)
                        return -1;
                    const std::size_t Count = std::min({ARoom, Self.Size - Self.Given, std::size_t{5000}});
                    std::fill_n(static_cast<char*>(ABuffer), Count, 'x');
                    Self.Given += Count;
                    return static_cast<std::int64_t>(Count);
                },
                ACanRewind ? +[](void* ASelf) {
                    auto& Self = *static_cast<Source*>(ASelf);
                    Self.Given = 0;
                    ++Self.Rewinds;
                    return true;
                } : nullptr};
    }
};

std::uint32_t SendFrom(const Client& AClient, Source& ASource, std::uint64_t ATotal, bool ACanRewind,
                       std::string& ABody, const char* ATarget = "/")
{
    const Handle Request = AClient.Open("PUT", ATarget);
    const TZnHttpBodySource Option = ASource.Option(ATotal, ACanRewind);
    EXPECT_TRUE(WinHttpSetOption(Request, ZN_OPTION_BODY_SOURCE, &Option, sizeof Option));
    const std::uint32_t Error = Send(Request);
    if (Error == 0)
        ABody = ReadAll(Request);
    return Error;
}

TEST(Exchange, BodiesFromASource)
{
    ScriptedPeer Peer(EchoBodies);
    Client Client(Peer.Port());
    std::string Body;
    Source Whole{200'000};
    EXPECT_EQ(SendFrom(Client, Whole, 200'000, true, Body), 0u);
    EXPECT_EQ(Body, std::string(200'000, 'x'));
    Source Chunked{20'000};
    ScriptedPeer Chunks([](PeerConnection& APeer) {
        const std::string Head = APeer.ReadHead();
        std::string Rest;
        while (!Rest.ends_with("\r\n0\r\n\r\n"))
            Rest += APeer.ReadBytes(1);
        APeer.Answer(Head.find("Transfer-Encoding: chunked") != std::string::npos
                         ? std::to_string(std::count(Rest.begin(), Rest.end(), 'x'))
                         : "not chunked");
    });
    EXPECT_EQ(SendFrom(::Client(Chunks.Port()), Chunked, ZN_BODY_LENGTH_UNKNOWN, true, Body), 0u);
    EXPECT_EQ(Body, "20000");
    Source Short{1000};
    EXPECT_EQ(SendFrom(Client, Short, 1001, true, Body), ERROR_READ_FAULT);
    Source Failing{100'000};
    Failing.FailAt = 50'000;
    EXPECT_EQ(SendFrom(Client, Failing, 100'000, true, Body), ERROR_READ_FAULT);
}

TEST(Exchange, RedirectsRewindTheBodyOrEnd)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();) {
            const std::size_t Length = std::stoull(Head.substr(Head.find("Content-Length: ") + 16));
            const std::string Body = APeer.ReadBytes(Length);
            if (Head.starts_with("PUT /moved"))
                APeer.Send("HTTP/1.1 307 Moved\r\nLocation: /here\r\nContent-Length: 3\r\n\r\nabc");
            else
                APeer.Answer(std::to_string(Body.size()));
        }
    });
    Client Client(Peer.Port());
    std::string Body;
    Source Willing{70'000};
    EXPECT_EQ(SendFrom(Client, Willing, 70'000, true, Body, "/moved"), 0u);
    EXPECT_EQ(Body, "70000");
    EXPECT_EQ(Willing.Rewinds, 1);
    Source Unwilling{70'000};
    EXPECT_EQ(SendFrom(Client, Unwilling, 70'000, false, Body, "/moved"), ERROR_READ_FAULT);
    EXPECT_EQ(Peer.Connections(), 1);
}

TEST(Exchange, ASecondSendBeginsTheSourceAnew)
{
    ScriptedPeer Peer(EchoBodies);
    Client Client(Peer.Port());
    Source Body{100'000};
    const Handle Request = Client.Open("PUT", "/");
    const TZnHttpBodySource Option = Body.Option(100'000);
    ASSERT_TRUE(WinHttpSetOption(Request, ZN_OPTION_BODY_SOURCE, &Option, sizeof Option));
    for (int Round = 0; Round < 2; ++Round) {
        ASSERT_EQ(Send(Request), 0u);
        EXPECT_EQ(ReadAll(Request).size(), 100'000u);
        EXPECT_EQ(Body.Rewinds, Round);
    }
}

TEST(Exchange, HeadHasNoBody)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        while (!APeer.ReadHead().empty())
            APeer.Send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n");
    });
    Client Client(Peer.Port());
    for (int Round = 0; Round < 2; ++Round) {
        const Handle Request = Client.Open("HEAD", "/");
        ASSERT_EQ(Send(Request), 0u);
        EXPECT_EQ(ReadAll(Request), "");
        EXPECT_EQ(Query(Request, WINHTTP_QUERY_CONTENT_LENGTH), "5");
    }
    EXPECT_EQ(Peer.Connections(), 1);
}

TEST(Exchange, HandlesOfOtherKindsAreRefused)
{
    Client Client(1);
    const Handle Request = Client.Open("GET", "/");
    EXPECT_FALSE(WinHttpReceiveResponse(Client.Session, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_WINHTTP_INCORRECT_HANDLE_TYPE);
    EXPECT_FALSE(WinHttpReceiveResponse(nullptr, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(WinHttpReceiveResponse(Request, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_WINHTTP_INCORRECT_HANDLE_STATE);
    EXPECT_FALSE(Client::Set(Request, 9999, 1));
    EXPECT_EQ(GetLastError(), ERROR_WINHTTP_INVALID_OPTION);
    EXPECT_FALSE(
        Client::Set(Client.Session, WINHTTP_OPTION_SECURE_PROTOCOLS, WINHTTP_FLAG_SECURE_PROTOCOL_TLS1));
    EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
}

} // namespace
