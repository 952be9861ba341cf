#include "uZnHTTPServer/Response.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "common/Exceptions.h"

TZnHTTPServerResponse::TZnHTTPServerResponse(TZnCustomHTTPServer& AServer, PZnHTTPServerRequest ARequest)
    : FHTTPServer(AServer), FRequest(ARequest)
{
}

TZnHTTPServerResponse::~TZnHTTPServerResponse()
{
    if (!FReleaseContent)
        return;
    switch (FResponseType) {
    case rtText:
        break;
    case rtMemory:
        FreeBuffer();
        break;
    case rtStream:
        FreeStream();
        break;
    case rtFile:
        CloseFile();
        break;
    }
}

void TZnHTTPServerResponse::SetResponseType(TZnHTTPServerResponseType AValue)
{
    if (FReleaseContent && AValue != rtStream)
        FreeStream();
    if (FReleaseContent && AValue != rtMemory)
        FreeBuffer();
    if (AValue != rtFile)
        CloseFile();
    if (AValue != rtText)
        FResponseText.clear();
    FResponseType = AValue;
}

void TZnHTTPServerResponse::SetResponseText(std::string AValue)
{
    ZnAssert(FResponseStream == nullptr && FResponseBuffer == nullptr && FResponseFileHandle == 0);
    FResponseType = rtText;
    FResponseText = std::move(AValue);
    FReleaseContent = false;
}

void TZnHTTPServerResponse::SetResponseBuffer(const void* AValue)
{
    ZnAssert(FResponseType == rtText || FResponseType == rtMemory);
    if (FReleaseContent && FResponseBuffer != AValue)
        FreeBuffer();
    FResponseType = rtMemory;
    FResponseBuffer = AValue;
}

void TZnHTTPServerResponse::SetResponseBufSize(std::uint32_t AValue)
{
    ZnAssert(FResponseType == rtText || FResponseType == rtMemory);
    FResponseType = rtMemory;
    FResponseBufSize = AValue;
}

void TZnHTTPServerResponse::SetResponseStream(TStream* AValue)
{
    ZnAssert(FResponseType == rtText || FResponseType == rtStream);
    if (FReleaseContent && FResponseStream != AValue)
        FreeStream();
    FResponseType = rtStream;
    FResponseStream = AValue;
}

void TZnHTTPServerResponse::SetResponseStream(std::unique_ptr<TStream> AValue)
{
    SetResponseStream(AValue.get());
    FReleaseContent = true;
    static_cast<void>(AValue.release());
}

void TZnHTTPServerResponse::SetResponseFileName(std::string AValue)
{
    ZnAssert(FResponseType == rtText || FResponseType == rtFile);
    FResponseType = rtFile;
    FResponseFileName = std::move(AValue);
    FReleaseContent = false;
    FResponseFileHandle = 0;
}

void TZnHTTPServerResponse::AddUnknownHeader(std::string AName, std::string AValue)
{
    FUnknownHeaders.push_back({std::move(AName), std::move(AValue)});
}

void TZnHTTPServerResponse::AddCookie(const std::string& AName, const std::string& AValue)
{
    std::string Cookie = AName + "=" + AValue;
    const auto Match = std::find_if(FUnknownHeaders.begin(), FUnknownHeaders.end(), [&](const auto& Header) {
        return Header.Name == "Set-Cookie" && Header.Value.starts_with(AName);
    });
    if (Match != FUnknownHeaders.end())
        Match->Value = std::move(Cookie);
    else
        AddUnknownHeader("Set-Cookie", std::move(Cookie));
}

void TZnHTTPServerResponse::FreeStream()
{
    delete std::exchange(FResponseStream, nullptr);
}

void TZnHTTPServerResponse::FreeBuffer()
{
    std::free(const_cast<void*>(std::exchange(FResponseBuffer, nullptr)));
}

void TZnHTTPServerResponse::CloseFile()
{
    if (FResponseFileHandle != 0)
        CloseHandle(std::exchange(FResponseFileHandle, 0));
}
