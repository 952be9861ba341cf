#include "tools/zn/Demo.h"

#include <cstdlib>
#include <cstring>

#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Protection.h"
#include "tools/zn/RequestDescription.h"
#include "tools/zn/UrlPath.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPH.h"

namespace Zn
{

namespace
{

constexpr std::uint32_t cLargestSize = 64 << 20;
constexpr int cLongestWait = 600'000; // ms

/// A number from the query within 0..ALimit; ADefault when it isn't there.
template <typename T>
T NumberFromQuery(const TExchange& AExchange, std::string_view AName, T ADefault, T ALimit)
{
    const auto Text = QueryParameter(AExchange.Request.UrlData.QueryString, AName);
    if (!Text)
        return ADefault;
    const auto Number = ZnParseInt<T>(*Text);
    if (!Number || *Number < 0 || *Number > ALimit)
        throw EZnHTTPException(
            std::string(AName) + " has to be a number from 0 to " + std::to_string(ALimit) + ".", 400);
    return *Number;
}

/// Lines of 64 bytes that begin with their own position, so that a reader of a part sees which one it is.
void FillRuler(char* ATarget, std::size_t ASize)
{
    constexpr char cTail[] = " .:.|.:.|.:.|.:.|.:.|.:.|.:.|.:.|.:.|.:.|.:.|.:.|.:.|.:\n";
    for (std::size_t Position = 0; Position < ASize; Position += 64) {
        const std::string Line = ZnFormat("%08zu%s", Position, cTail);
        std::memcpy(ATarget + Position, Line.data(), std::min<std::size_t>(64, ASize - Position));
    }
}

std::uint32_t SizeFromQuery(const TExchange& AExchange)
{
    return NumberFromQuery<std::uint32_t>(AExchange, "size", 1024, cLargestSize);
}

void Echo(TExchange& AExchange)
{
    // The type is the sender's choice: as a page of this origin it must not run scripts here.
    AExchange.Response.AddUnknownHeader("Content-Security-Policy", "sandbox");
    AExchange.Response.AddUnknownHeader("X-Content-Type-Options", "nosniff");
    std::shared_ptr<IZnBodyContent> Body;
    if (!AExchange.Request.GetBody(Body))
        return AExchange.RespondText("");
    const std::string ContentType = Body->GetContentType();
    AExchange.Response.SetContentType(ContentType.empty() ? "application/octet-stream" : ContentType);
    // The worker keeps the body until the request is over, so the response only borrows it.
    AExchange.Response.SetResponseStream(Body->AsStream(true));
}

void Text(TExchange& AExchange)
{
    std::string Bytes(SizeFromQuery(AExchange), '\0');
    FillRuler(Bytes.data(), Bytes.size());
    AExchange.RespondText(std::move(Bytes));
}

void Memory(TExchange& AExchange)
{
    const std::uint32_t Size = SizeFromQuery(AExchange);
    AExchange.Response.SetContentType("text/plain; charset=utf-8");
    void* Buffer = std::malloc(std::max<std::uint32_t>(Size, 1));
    AExchange.Response.SetResponseBuffer(Buffer);
    AExchange.Response.SetResponseBufSize(Size);
    AExchange.Response.SetReleaseContent(true);
    FillRuler(static_cast<char*>(Buffer), Size);
}

void Stream(TExchange& AExchange)
{
    auto Bytes = std::make_unique<TMemoryStream>();
    Bytes->SetSize(SizeFromQuery(AExchange));
    FillRuler(reinterpret_cast<char*>(Bytes->Memory()), static_cast<std::size_t>(Bytes->GetSize()));
    AExchange.Response.SetContentType("text/plain; charset=utf-8");
    AExchange.Response.SetResponseStream(Bytes.release());
    AExchange.Response.SetReleaseContent(true);
}

void Status(std::string_view ACode)
{
    const auto Code = ZnParseInt<int>(ACode);
    if (!Code || *Code < 200 || *Code > 999)
        throw EZnHTTPException("The status has to be a number from 200 to 999.", 400);
    const std::string Reason = HttpStatusMsg(static_cast<std::uint32_t>(*Code));
    throw EZnHTTPException(Reason.empty() ? "A status without a name" : Reason, *Code);
}

void Wait(TExchange& AExchange)
{
    constexpr std::uint32_t cStopped = 0, cDisconnected = 1; // no handles of our own come before
    constexpr std::uint32_t cGoneBefore = 0xFFFFFFFF;
    const int Milliseconds = NumberFromQuery<int>(AExchange, "ms", 1000, cLongestWait);
    switch (AExchange.Request.WaitForEvents(Milliseconds, {})) {
    case WAIT_TIMEOUT:
        return AExchange.RespondText("Nothing happened for " + std::to_string(Milliseconds) + " ms.\n");
    case cStopped:
    case cDisconnected:
    case cGoneBefore:
        return AExchange.Response.SetContentType(""); // nobody is left to tell
    default:
        throw EZnHTTPException("The wait was refused.", 500);
    }
}

} // namespace

void RespondDemo(TExchange& AExchange, std::string_view AName)
{
    AExchange.Response.AddUnknownHeader("Cache-Control", "no-store");
    if (AName == "echo")
        return Echo(AExchange);
    if (AName == "request")
        return AExchange.RespondText(DescribeRequest(AExchange), "application/json");
    if (AName == "text")
        return Text(AExchange);
    if (AName == "memory")
        return Memory(AExchange);
    if (AName == "stream")
        return Stream(AExchange);
    if (AName.starts_with("status/"))
        return Status(AName.substr(7));
    if (AName == "fail")
        throw EConvertError("This handler fails on purpose.");
    if (AName == "private")
        return RespondPrivate(AExchange);
    if (AName == "wait")
        return Wait(AExchange);
    throw EZnHTTPNotFound("There is no such demonstration.");
}

} // namespace Zn
