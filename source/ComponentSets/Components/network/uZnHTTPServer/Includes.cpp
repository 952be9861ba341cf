// Server-side includes: pages that pull in other files, on the worker, between the handler and the sending.

#include <algorithm>
#include <optional>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Text.h"
#include "common/TextParser.h"
#include "uZnHTTPServer/CurrentExchange.h"
#include "uZnHTTPServer/ErrorPages.h"
#include "uZnHTTPServer/IncludeParser.h"
#include "uZnHTTPServer/PageWriteBack.h"
#include "uZnHTTPServer/Server.h"

namespace
{

/// From text/shtml, the type of a page with directives, to text/html, the type of what they make of it. The
/// first
/// "/s" of any other type loses its letter too.
std::string ExpandedContentType(std::string AType)
{
    const std::size_t At = LowerCase(AType).find("/s");
    if (At != std::string::npos)
        AType.erase(At + 1, 1);
    return AType;
}

/// With the "/" at its end; empty for a bare name.
std::string FolderOf(const std::string& AFileName)
{
    return AFileName.substr(0, AFileName.rfind('/') + 1);
}

bool IsWrittenBack(const TZnHTTPServerResponse& AResponse)
{
    const auto& Headers = AResponse.GetUnknownHeaders();
    return std::any_of(Headers.begin(), Headers.end(),
                       [](const TZnHTTPHeader& AHeader) { return AHeader.Name == "Zemvo-Cached"; });
}

void Append(TStream& AOutput, std::string_view ABytes)
{
    AOutput.WriteBuffer(ABytes.data(), static_cast<std::int64_t>(ABytes.size()));
}

/// All of a stream, where it lies if that is in memory.
class SourceBytes
{
public:
    explicit SourceBytes(TStream& ASource) : FMustFree(ZnStreamToReadBuf(ASource, FBytes, FLength)) {}
    ~SourceBytes()
    {
        if (FMustFree)
            ZnFreeReadBuf(FBytes);
    }
    SourceBytes(const SourceBytes&) = delete;
    SourceBytes& operator=(const SourceBytes&) = delete;

    std::string_view View() const
    {
        return {static_cast<const char*>(FBytes), static_cast<std::size_t>(FLength)};
    }

private:
    const void* FBytes = nullptr; // written by ZnStreamToReadBuf, so ahead of FMustFree
    std::int64_t FLength = 0;
    bool FMustFree;
};

} // namespace

void TZnCustomHTTPServer::ParseSSI(TZnHTTPServerResponse& AResponse)
{
    const auto Fail = [&](const std::string& AHtmlText, const std::string& AJsonText) {
        const PZnHTTPServerRequest Request = HTTPRequest();
        const std::string Accept = Request ? Request->GetKnownHeaderValue(HttpHeaderAccept) : std::string();
        Zn::AnswerWithErrorPage(AResponse, 500, Zn::MakeErrorPage(Accept, AHtmlText, AJsonText));
    };
    try {
        ExpandPage(AResponse);
    } catch (const std::exception& E) {
        Fail(Zn::ExceptionText(E), E.what());
    } catch (...) {
        Fail("unknown exception", "unknown exception");
    }
}

void TZnCustomHTTPServer::ExpandPage(TZnHTTPServerResponse& AResponse)
{
    const std::string FileName = AResponse.GetResponseFileName();
    AResponse.SetContentType(ExpandedContentType(AResponse.GetContentType()));
    AResponse.SetResponseType(rtStream);
    auto Stream = std::make_unique<TMemoryStream>();
    TMemoryStream& Output = *Stream;
    AResponse.SetResponseStream(std::move(Stream));

    // Of the page as it is now: an edit that comes while it is expanded must not be lost to the expansion.
    std::optional<Zn::FileVersion> Version;
    if (IsWrittenBack(AResponse))
        Version = Zn::VersionOf(FileName);
    const bool Changed = ExpandFile(FileName, Output);
    Output.SetPosition(0);

    if (Changed && Version) {
        try {
            Zn::ReplaceFile(FileName, *Version, Output.View());
        } catch (...) {
            // The file stays as it is, and the response doesn't depend on it.
        }
    }
}

/// True when a directive was processed.
bool TZnCustomHTTPServer::ExpandFile(const std::string& AFileName, TMemoryStream& AOutput)
{
    std::unique_ptr<TStream> File = CreateFileStream({}, AFileName);
    const std::int64_t Size = File->GetSize();
    CheckPageSize(Size);
    AOutput.Reserve(Size);
    TZnTextParser Page(std::move(File), cZnCodePageUTF8);
    Zn::DirectiveScanner Scanner(Page);
    bool Processed = false;
    while (Scanner.Next()) {
        Append(AOutput, Scanner.Text());
        ProcessSSI(AFileName, Scanner.Command(), Scanner.Params(), Page, AOutput);
        Processed = true;
    }
    Append(AOutput, Scanner.Text());
    CheckPageSize(AOutput.GetSize());
    return Processed;
}

void TZnCustomHTTPServer::ProcessSSI(const std::string& AFileName, const std::string& ACommand,
                                     const TStringList& AParams, TZnTextParser&, TStream& AOutput)
{
    if (ACommand != "include")
        return;
    const std::string Folder = FolderOf(AFileName);
    const std::string File = AParams.GetValue("file");
    std::string Start = AParams.GetValue("start");
    std::string End = AParams.GetValue("end");

    std::unique_ptr<TStream> Source;
    try {
        Source = CreateFileStream(Folder, File);
    } catch (const EFileNotFoundException&) {
        Source = std::make_unique<TStringStream>("File " + Folder + File + " not found!");
        Start.clear();
        End.clear();
    }
    CheckPageSize(Source->GetSize());
    const SourceBytes All(*Source);
    const std::string_view Part =
        Start.empty() && End.empty() ? All.View() : Zn::SelectPart(All.View(), Start, End);
    CheckPageSize(AOutput.GetSize() + static_cast<std::int64_t>(Part.size()));
    Append(AOutput, Part);
}

void TZnCustomHTTPServer::CheckPageSize(std::int64_t ASize) const
{
    if (FMaxPageSize > 0 && ASize > FMaxPageSize)
        throw EZnHTTPException("The page is longer than " + std::to_string(FMaxPageSize) + " bytes!", 500);
}

std::unique_ptr<TStream> TZnCustomHTTPServer::CreateFileStream(const std::string& APath,
                                                               const std::string& AFileName)
{
    return FPageFiles.Open(APath + AFileName);
}

void TZnCustomHTTPServer::SetMaxPageSize(std::int64_t AValue)
{
    FMaxPageSize = std::max<std::int64_t>(AValue, 0);
}
