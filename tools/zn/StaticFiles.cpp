#include "tools/zn/StaticFiles.h"

#include <cerrno>
#include <unistd.h>

#include "common/DateTime.h"
#include "common/Exceptions.h"
#include "tools/zn/AcceptEncoding.h"
#include "tools/zn/ConditionalRequests.h"
#include "tools/zn/DirectoryPage.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPServer/IncludeParser.h"

namespace Zn
{

namespace
{

constexpr const char* cIndexNames[] = {"index.html", "index.htm", "index.shtml"};

// Compressing costs the text's size in memory and time on every request. Below the lower bound it saves
// less than the field that announces it.
constexpr std::uint64_t cDeflateAtLeast = 256;
constexpr std::uint64_t cDeflateAtMost = 1 << 20;

std::string ReadPart(const TSiteEntry& AFile, std::uint64_t AFirst, std::uint64_t ALength)
{
    std::string Bytes(static_cast<std::size_t>(ALength), '\0');
    std::size_t Done = 0;
    while (Done < Bytes.size()) {
        const ssize_t Count = pread(AFile.Fd.Get(), Bytes.data() + Done, Bytes.size() - Done,
                                    static_cast<off_t>(AFirst + Done));
        if (Count < 0 && errno == EINTR)
            continue;
        if (Count <= 0) // shorter than a moment ago, or a disk that fails
            break;
        Done += static_cast<std::size_t>(Count);
    }
    Bytes.resize(Done);
    return Bytes;
}

/// One of a path's names is a hidden one; "." and ".." are none.
bool HasHiddenName(std::string_view APath)
{
    while (!APath.empty()) {
        const std::string_view Name = APath.substr(0, APath.find('/'));
        if (Name != "." && Name != ".." && TSiteFolder::IsHidden(Name))
            return true;
        APath.remove_prefix(std::min(Name.size() + 1, APath.size()));
    }
    return false;
}

[[noreturn]] void RaiseOpenError(int AError)
{
    if (AError == EACCES || AError == EPERM)
        throw EZnHTTPForbidden("This file may not be read.");
    if (AError == EMFILE || AError == ENFILE || AError == ENOMEM)
        throw EZnHTTPException("The server has too many files open. Try again later.", 503);
    throw EZnHTTPNotFound("There is nothing at this address.");
}

TConditions ConditionsOf(const TExchange& AExchange)
{
    return {.IfMatch = AExchange.Header(HttpHeaderIfMatch),
            .IfUnmodifiedSince = AExchange.Header(HttpHeaderIfUnmodifiedSince),
            .IfNoneMatch = AExchange.Header(HttpHeaderIfNoneMatch),
            .IfModifiedSince = AExchange.Header(HttpHeaderIfModifiedSince)};
}

timespec CurrentTime()
{
    timespec Now{};
    clock_gettime(CLOCK_REALTIME, &Now);
    return Now;
}

/// Another representation needs another tag; the quote at the end moves behind the suffix.
std::string TagWithSuffix(std::string ATag, std::string_view ASuffix)
{
    ATag.insert(ATag.size() - 1, ASuffix);
    return ATag;
}

/// The range to serve of a file, if any. Raises EZnHTTPException 416, with the length in Content-Range.
TRangeRequest RangeOf(const TExchange& AExchange, const TSiteEntry& AFile, const TValidators& AValidators)
{
    // What the client has of an older file is of no use to it: it gets all of the new one.
    if (AExchange.Request.HttpVerb != HttpVerbGET ||
        !IfRangeMatches(AExchange.Header(HttpHeaderIfRange), AValidators))
        return {};
    const TRangeRequest Range = ResolveRange(AExchange.Header(HttpHeaderRange), AFile.Size);
    if (Range.Kind == TRangeRequest::TKind::Unsatisfiable) {
        AExchange.Response.AddUnknownHeader("Content-Range", "bytes */" + std::to_string(AFile.Size));
        throw EZnHTTPException("The file ends before the range begins.", 416);
    }
    return Range;
}

/// Answers with the file, or with the part ARange of it.
void SendContent(TExchange& AExchange, TSiteEntry AFile, const TRangeRequest& ARange)
{
    TZnHTTPServerResponse& Response = AExchange.Response;
    const std::string First = std::to_string(ARange.First), Last = std::to_string(ARange.Last);
    if (AFile.Size == 0)
        return; // the response holds an empty text already
    const bool Part = ARange.Kind == TRangeRequest::TKind::Part;
    if (Part)
        Response.SetStatusDescription(HttpStatusMsg(206));
    if (Part && ARange.First == ARange.Last) {
        // The pipeline knows no range of a single byte: "5-5" reads as from 5 to the end there.
        Response.SetStatusCode(206);
        Response.AddUnknownHeader("Accept-Ranges", "bytes");
        Response.AddUnknownHeader("Content-Range",
                                  "bytes " + First + "-" + Last + "/" + std::to_string(AFile.Size));
        return Response.SetResponseText(ReadPart(AFile, ARange.First, 1));
    }
    if (Part)
        AExchange.ReplaceRange("bytes=" + First + "-" + Last);
    // Without a Range field it only announces that ranges are served; one that is to be ignored must not be
    // seen.
    Response.SetPartialContent(Part || AExchange.Header(HttpHeaderRange).empty());
    AExchange.SendFile(std::move(AFile));
}

} // namespace

TStaticFiles::TStaticFiles(const std::string& AFolder, const TOptions& AOptions)
    : FFolder(AFolder), FOptions(AOptions)
{
}

void TStaticFiles::Respond(TExchange& AExchange, std::string_view APrefix, std::string_view APath) const
{
    const THTTP_VERB Verb = AExchange.Request.HttpVerb;
    if (Verb != HttpVerbGET && Verb != HttpVerbHEAD) {
        AExchange.Response.AddUnknownHeader("Allow", "GET, HEAD, OPTIONS");
        if (Verb == HttpVerbOPTIONS)
            return AExchange.RespondText("");
        throw EZnHTTPException("Files can be fetched, and nothing else.", 405);
    }
    const auto Path = DecodeUrlPath(APath);
    if (!Path || std::any_of(Path->Names.begin(), Path->Names.end(), TSiteFolder::IsHidden))
        throw EZnHTTPNotFound("There is nothing at this address.");

    TSiteEntry Entry = FFolder.Open(Path->FileName());
    if (!Entry.Fd)
        RaiseOpenError(Entry.Error);
    if (Entry.Kind == TEntryKind::Folder)
        RespondFolder(AExchange, APrefix, *Path, std::move(Entry));
    else if (Entry.Kind == TEntryKind::File && !Path->IsFolder)
        RespondFile(AExchange, {std::move(Entry), Path->FileName()});
    else
        throw EZnHTTPNotFound("There is nothing at this address.");
}

std::unique_ptr<TStream> TStaticFiles::OpenForPage(const std::string& APath) const
{
    const std::string Text = "Cannot open file \"" + APath + "\". ";
    if (HasHiddenName(APath))
        throw EFileNotFoundException(Text + "It is hidden.");
    const TSiteEntry Entry = FFolder.Open(APath);
    if (!Entry.Fd && (Entry.Error == EACCES || Entry.Error == EPERM))
        throw EFOpenError(Text + "It may not be read.");
    if (!Entry.Fd && (Entry.Error == EMFILE || Entry.Error == ENFILE || Entry.Error == ENOMEM))
        throw EFOpenError(Text + "The server has too many files open.");
    if (!Entry.Fd)
        throw EFileNotFoundException(Text + "There is nothing of that name.");
    if (Entry.Kind != TEntryKind::File)
        throw EFOpenError(Text + "It is no file.");
    return std::make_unique<TFileStream>(Entry.ReopenName(), fmOpenRead | fmShareDenyNone);
}

void TStaticFiles::RespondFolder(TExchange& AExchange, std::string_view APrefix, const TUrlPath& APath,
                                 TSiteEntry AFolder) const
{
    const std::string& Query = AExchange.Request.UrlData.QueryString;
    if (!APath.IsFolder) {
        // Relative links of the folder's page count from the slash. The path is written anew: a target that
        // begins with "//" must not become a host.
        std::string Location(APrefix);
        for (const std::string& Name : APath.Names)
            Location += EncodeUrlSegment(Name) + "/";
        return AExchange.Redirect(Query.empty() ? Location : Location + "?" + Query);
    }
    const std::string Folder = APath.FileName();
    for (const char* Name : cIndexNames) {
        const std::string IndexPath = Folder.empty() ? Name : Folder + "/" + Name;
        TSiteEntry Index = FFolder.Open(IndexPath);
        if (Index.Fd && Index.Kind == TEntryKind::File)
            return RespondFile(AExchange, {std::move(Index), IndexPath});
    }
    TZnHTTPServerResponse& Response = AExchange.Response;
    if (!FOptions.InlineStyle && Query == cStyleQuery) {
        Response.SetContentType("text/css; charset=utf-8");
        Response.AddUnknownHeader("Cache-Control", "max-age=3600");
        return Response.SetResponseText(std::string(DirectoryStyle()));
    }
    Response.SetContentType("text/html; charset=utf-8");
    Response.AddUnknownHeader("Cache-Control", "no-cache");
    Response.SetResponseText(
        DirectoryPage(APath, FFolder.List(AFolder, Folder), ListingOrder(Query), FOptions.InlineStyle));
}

void TStaticFiles::RespondFile(TExchange& AExchange, TFile AFile) const
{
    TZnHTTPServerResponse& Response = AExchange.Response;
    const std::string ContentType = ContentTypeOf(AFile);
    Response.SetContentType(ContentType);
    Response.AddUnknownHeader("X-Content-Type-Options", "nosniff");
    // May be kept, but is asked about each time: a changed file is seen at once.
    Response.AddUnknownHeader("Cache-Control", "no-cache");
    // A page is what it includes as well, so the file's date and length say nothing about it. The pipeline
    // opens it through OpenForPage.
    if (MayHoldDirectives(AFile.Name()))
        return Response.SetResponseFileName(std::move(AFile.Path));

    TValidators Validators = FileValidators(AFile.Entry.Size, AFile.Entry.Modified, CurrentTime());
    const bool Deflate = WantsDeflate(AExchange, AFile, ContentType);
    if (Deflate)
        Validators.ETag = TagWithSuffix(Validators.ETag, "-deflate");
    const TPrecondition Precondition = EvaluatePreconditions(ConditionsOf(AExchange), Validators);
    if (Precondition == TPrecondition::Failed)
        throw EZnHTTPException("The file has changed.", 412);
    const bool Modified = Precondition == TPrecondition::Proceed;
    const TRangeRequest Range = Modified ? RangeOf(AExchange, AFile.Entry, Validators) : TRangeRequest{};

    // Of the file, so not for the pages of the failures above.
    Response.AddUnknownHeader("ETag", Validators.ETag);
    Response.AddUnknownHeader("Last-Modified", ZnHttpDateFromUnix(Validators.LastModified));
    if (FOptions.Deflate && TContentTypes::IsTextual(ContentType))
        Response.AddUnknownHeader("Vary", "Accept-Encoding");
    if (!Modified) {
        Response.SetStatusCode(304);
        Response.SetStatusDescription(HttpStatusMsg(304));
    } else if (Deflate) {
        Response.SetContentEncoding("deflate");
        Response.SetResponseText(ReadPart(AFile.Entry, 0, AFile.Entry.Size));
    } else {
        SendContent(AExchange, std::move(AFile.Entry), Range);
    }
}

std::string TStaticFiles::ContentTypeOf(const TFile& AFile) const
{
    const std::string Known = FContentTypes.OfName(AFile.Name());
    return Known.empty() ? TContentTypes::OfContent(
                               ReadPart(AFile.Entry, 0, std::min<std::uint64_t>(AFile.Entry.Size, 1024)))
                         : Known;
}

bool TStaticFiles::WantsDeflate(const TExchange& AExchange, const TFile& AFile,
                                std::string_view AContentType) const
{
    if (!FOptions.Deflate || AFile.Entry.Size < cDeflateAtLeast || AFile.Entry.Size > cDeflateAtMost ||
        !TContentTypes::IsTextual(AContentType) || !AExchange.Header(HttpHeaderRange).empty())
        return false;
    // The pipeline compresses only where it finds the coding in lower case.
    const std::string Accepted = AExchange.Header(HttpHeaderAcceptEncoding);
    return Accepted.find("deflate") != std::string::npos && AcceptsCoding(Accepted, "deflate");
}

} // namespace Zn
