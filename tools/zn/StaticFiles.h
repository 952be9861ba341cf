#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "common/Streams.h"
#include "tools/zn/ContentTypes.h"
#include "tools/zn/Exchange.h"
#include "tools/zn/RangeRequest.h"
#include "tools/zn/SiteFolder.h"
#include "tools/zn/UrlPath.h"

namespace Zn
{

/// Answers GET and HEAD from the files of a folder. Any thread, many at a time.
class TStaticFiles
{
public:
    struct TOptions
    {
        bool Deflate = false;    // small text goes out compressed to clients that take it
        bool InlineStyle = true; // of directory pages: false where a Content-Security-Policy may refuse it
    };

    TStaticFiles(const std::string& AFolder, const TOptions& AOptions);

    const TSiteFolder& Folder() const { return FFolder; }

    /// Fills the response for APath, the part of the URL path behind APrefix; both keep their escapes.
    /// Raises EZnHTTPException with 404, 403, 405, 412 or 416.
    void Respond(TExchange& AExchange, std::string_view APrefix, std::string_view APath) const;

    /// Opens a page, or a file that it includes, by its path from the folder. Such a path may hold ".." and
    /// symbolic links as long as they stay inside; what lies outside and what is hidden isn't found. Raises
    /// EFileNotFoundException, or EFOpenError for what is there and is no file or may not be read.
    std::unique_ptr<TStream> OpenForPage(const std::string& APath) const;

private:
    struct TFile
    {
        TSiteEntry Entry;
        std::string Path; // from the folder

        std::string_view Name() const
        {
            const std::string_view All = Path;
            return All.substr(All.rfind('/') + 1);
        }
    };

    void RespondFolder(TExchange& AExchange, std::string_view APrefix, const TUrlPath& APath,
                       TSiteEntry AFolder) const;
    void RespondFile(TExchange& AExchange, TFile AFile) const;
    std::string ContentTypeOf(const TFile& AFile) const;
    bool WantsDeflate(const TExchange& AExchange, const TFile& AFile, std::string_view AContentType) const;

    TSiteFolder FFolder;
    TOptions FOptions;
    TContentTypes FContentTypes;
};

} // namespace Zn
