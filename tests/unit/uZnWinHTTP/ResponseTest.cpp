#include "uZnWinHTTP.h"

#include <gtest/gtest.h>

#include "ScriptedWinhttp.h"
#include "common/Deflate.h"

namespace
{

std::string Zlib(const std::string& AText)
{
    TStringStream Source(AText);
    TMemoryStream Target;
    ZlCompressStream(Source, Target);
    return std::string(Target.View());
}

struct Response : testing::Test
{
    ScriptedWinhttp Script;
    TZnWinHTTPClient Client{nullptr};

    std::shared_ptr<IZnHTTPResponse> Get(ScriptedResponse AResponse)
    {
        Script.Responses = {std::move(AResponse)};
        return Client.Request(httpGET, "http://h/", false);
    }
    std::string Inflated(const std::string& ABody)
    {
        return Get({.Fields = "Content-Encoding: DEFLATE\r\n", .Body = {ABody.substr(0, 3), ABody.substr(3)}})
            ->GetResponse();
    }
    TZnHTTPMethods Options(std::uint32_t AStatus, const std::string& AFields)
    {
        Script.Responses = {{.Status = AStatus, .Fields = AFields}};
        return Client.Options("http://h/", nullptr);
    }
};

} // namespace

TEST_F(Response, BodyIsReadPieceByPieceAndTold)
{
    std::vector<std::pair<std::int64_t, std::int64_t>> Progress;
    Client.SetOnProgress([&](TObject* ASender, TStream*, std::int64_t ARead, std::int64_t ATotal) {
        EXPECT_EQ(ASender, &Client);
        Progress.emplace_back(ARead, ATotal);
    });
    const std::string Large(300000, 'x');
    const auto Announced = Get({.Fields = "Content-Length: 300002\r\n", .Body = {"ab", Large}});
    EXPECT_EQ(Announced->GetResponse(), "ab" + Large);
    EXPECT_EQ(Announced->GetResponse(), "ab" + Large) << "kept";
    EXPECT_EQ(Progress.size(), 3U);
    EXPECT_EQ(Progress.front(), std::pair(std::int64_t{2}, std::int64_t{300002}));
    Progress.clear();
    Get({.Body = {"abc", "d"}})->GetResponse();
    EXPECT_EQ(Progress.front(), std::pair(std::int64_t{3}, std::int64_t{3}));
}

TEST_F(Response, DeflateIsUndoneInBothItsForms)
{
    const std::string Text(1000, 'y');
    const std::string Wrapped = Zlib(Text);
    EXPECT_EQ(Inflated(Wrapped), Text);
    EXPECT_EQ(Inflated(Wrapped.substr(2, Wrapped.size() - 6)), Text);
    EXPECT_THROW(Inflated(Wrapped.substr(0, Wrapped.size() - 8)), EZnZlibException);
    EXPECT_THROW(Inflated("neither"), EZnZlibException);
    EXPECT_EQ(Get({.Fields = "Content-Encoding: deflate\r\n"})->GetResponse(), "") << "no body at all";
    Client.SetMaxInflatedSize(999);
    EXPECT_THROW(Inflated(Wrapped), EZnZlibException);
}

TEST_F(Response, DataGoesBehindWhatTheStreamHolds)
{
    TMemoryStream Target;
    Target.WriteBuffer("old", 3);
    Get({.Fields = "Content-Encoding: deflate\r\n", .Body = {Zlib("new")}})->GetResponseData(Target);
    EXPECT_EQ(Target.View(), "oldnew");
}

TEST_F(Response, StatusRaisesOnlyWhenAsked)
{
    EXPECT_NO_THROW(Get({.Status = 299})->CheckError());
    const auto Missing = Get({.Status = 404, .Body = {"no such page"}});
    EXPECT_EQ(Missing->GetStatus(), (TZnHTTPStatus{404, "Fine"}));
    try {
        Missing->CheckError();
        FAIL();
    } catch (const EZnHTTPException& E) {
        EXPECT_EQ(E.Message(), "no such page");
        EXPECT_EQ(E.GetErrorCode(), 404);
    }
    try {
        Get({.Status = 407})->CheckError();
        FAIL();
    } catch (const EZnWinHTTPHException& E) {
        EXPECT_EQ(E.GetErrorCode(), 12015);
        EXPECT_TRUE(E.Message().starts_with(
            "The call to \"http://h/\" failed with errorcode \"12015\"!\r\nThe login"));
    }
}

TEST_F(Response, OptionsNamesWhatTheServerAllows)
{
    EXPECT_EQ(Options(405, "Allow: GET\r\n").Count(), 9);
    EXPECT_EQ(Options(404, "Allow: GET\r\n"), (TZnHTTPMethods{httpGET}));
    EXPECT_EQ(Options(200, "Allow: get, post\r\n"), (TZnHTTPMethods{httpGET, httpPOST}));
    EXPECT_EQ(Options(200, "Allow: TARGET\r\n"), (TZnHTTPMethods{httpGET}));
    EXPECT_EQ(Options(200, "Access-Control-Allow-Methods: PUT\r\n"), (TZnHTTPMethods{httpPUT}));
    EXPECT_EQ(Options(200, "").Count(), 9);
}

TEST_F(Response, LongBodyIsReadWhileItIsSent)
{
    /// A file's stand-in: no memory to lend, and it can fail.
    struct Source : TStream
    {
        std::int64_t Position = 0;
        bool Fails = false;
        std::int64_t Read(void* ABuffer, std::int64_t ACount) override
        {
            if (Fails)
                throw EReadError("the disk is gone");
            const std::int64_t Count = std::min(ACount, GetSize() - Position);
            std::fill_n(static_cast<char*>(ABuffer), Count, 'z');
            Position += Count;
            return Count;
        }
        std::int64_t Write(const void*, std::int64_t) override { return 0; }
        std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override
        {
            Position = AOrigin == soBeginning ? AOffset
                       : AOrigin == soCurrent ? Position + AOffset
                                              : GetSize();
            return Position;
        }
        std::int64_t GetSize() const override { return 3000000; }
        void SetSize(std::int64_t) override {}
    } Body;
    Body.Position = 1000000;
    Client.GetCredentials().SetUserName("u");
    Script.Responses = {{.Status = 401, .First = 1}};
    EXPECT_EQ(Client.Request(httpPUT, "http://h/", &Body, "", false)->GetStatus().StatusCode, 200);
    EXPECT_EQ(Script.SendCount(), 2);
    EXPECT_EQ(Script.LastBody().size(), 2000000U) << "from the same place again";
    Body.Position = 0;
    Body.Fails = true;
    EXPECT_THROW(Client.Request(httpPUT, "http://h/", &Body, "", false), EReadError);
    Body.Position = 2500000;
    EXPECT_THROW(Client.Request(httpPUT, "http://h/", &Body, "", false), EReadError) << "read at once";
}
