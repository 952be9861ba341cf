#include "uZnHTTPServer/Response.h"

#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "platform/sync/Event.h"
#include "uZnHTTPServer.h"

namespace
{

/// Tells when it is freed.
class WatchedStream : public TMemoryStream
{
public:
    explicit WatchedStream(int& AFreed) : FFreed(AFreed) {}
    ~WatchedStream() override { ++FFreed; }

private:
    int& FFreed;
};

class Response : public testing::Test
{
protected:
    TZnHTTPServer Server{nullptr};
    TZnHTTPServerRequest Request;
    std::unique_ptr<TZnHTTPServerResponse> Answer = std::make_unique<TZnHTTPServerResponse>(Server, &Request);
    int Freed = 0;
};

TEST_F(Response, StartsAsAnEmptyPage)
{
    EXPECT_EQ(Answer->GetStatusCode(), 200);
    EXPECT_EQ(Answer->GetStatusDescription(), "OK");
    EXPECT_EQ(Answer->GetContentType(), "text/html");
    EXPECT_EQ(Answer->GetResponseType(), rtText);
    EXPECT_EQ(Answer->GetMaxChunkSize(), 65535U);
}

TEST_F(Response, ASourceKeepsOthersOut)
{
    TMemoryStream Stream;
    Answer->SetResponseStream(&Stream);
    EXPECT_THROW(Answer->SetResponseBuffer("x"), EAssertionFailed);
    EXPECT_THROW(Answer->SetResponseBufSize(1), EAssertionFailed);
    EXPECT_THROW(Answer->SetResponseFileName("x"), EAssertionFailed);
    EXPECT_THROW(Answer->SetResponseText("x"), EAssertionFailed);
    // A foreign stream stays in its field, so a text is still refused.
    Answer->SetResponseType(rtText);
    EXPECT_THROW(Answer->SetResponseText("x"), EAssertionFailed);

    Answer = std::make_unique<TZnHTTPServerResponse>(Server, &Request);
    Answer->SetResponseFileName("x");
    EXPECT_THROW(Answer->SetResponseStream(&Stream), EAssertionFailed);
    Answer->SetResponseText("back without a way: no handle is open yet");
    EXPECT_EQ(Answer->GetResponseType(), rtText);
}

TEST_F(Response, BufferSizeMayComeBeforeTheBuffer)
{
    Answer->SetResponseBufSize(3);
    Answer->SetResponseBuffer("abc");
    EXPECT_EQ(Answer->GetResponseType(), rtMemory);
    EXPECT_EQ(Answer->GetResponseBufSize(), 3U);
}

TEST_F(Response, FreesWhatItOwnsOnceAndNothingElse)
{
    Answer->SetResponseStream(std::make_unique<WatchedStream>(Freed));
    Answer->SetResponseStream(std::make_unique<WatchedStream>(Freed)); // takes the first one's place
    EXPECT_EQ(Freed, 1);
    Answer->SetResponseType(rtText);
    EXPECT_EQ(Freed, 2);
    Answer->SetResponseText("x");
    Answer->SetResponseStream(std::make_unique<WatchedStream>(Freed));
    Answer.reset();
    EXPECT_EQ(Freed, 3);

    Answer = std::make_unique<TZnHTTPServerResponse>(Server, &Request);
    WatchedStream Foreign(Freed);
    Answer->SetResponseStream(&Foreign);
    Answer.reset();
    EXPECT_EQ(Freed, 3);

    Answer = std::make_unique<TZnHTTPServerResponse>(Server, &Request);
    Answer->SetResponseBuffer(std::malloc(8)); // a leak would show under the sanitizer
    Answer->SetReleaseContent(true);
    Answer->SetResponseType(rtText);
    EXPECT_EQ(Answer->GetResponseBuffer(), nullptr);
}

TEST_F(Response, ClosesItsFileHandleWhetherOwnedOrNot)
{
    Answer->SetResponseFileName("x");
    const THandle Handle = RegisterHandle(std::make_shared<TZnKernelEvent>());
    Answer->SetResponseFileHandle(Handle);
    Answer->SetResponseType(rtText);
    EXPECT_EQ(LookupHandle(Handle), nullptr);
    EXPECT_EQ(Answer->GetResponseFileHandle(), 0U);
}

TEST_F(Response, ASecondCookieOfThePrefixTakesTheFirstOnesPlace)
{
    Answer->AddCookie("a", "1; Path=/");
    Answer->AddCookie("b", "2");
    Answer->AddCookie("a", "3");
    ASSERT_EQ(Answer->GetUnknownHeaders().size(), 2U);
    EXPECT_EQ(Answer->GetUnknownHeaders()[0].Value, "a=3");
    EXPECT_EQ(Answer->GetUnknownHeaders()[1].Value, "b=2");

    Answer->AddUnknownHeader("Set-Cookie", "abc=1");
    Answer->AddUnknownHeader("Set-Cookie", "abc=2"); // nothing is merged
    Answer->AddCookie("ab", "4");
    ASSERT_EQ(Answer->GetUnknownHeaders().size(), 4U);
    EXPECT_EQ(Answer->GetUnknownHeaders()[2].Value, "ab=4");
    EXPECT_EQ(Answer->GetUnknownHeaders()[3].Value, "abc=2");
}

} // namespace
