#include "tools/zn/Exchange.h"

#include <climits>
#include <unistd.h>

#include "uZnHTTPBase.h"

namespace Zn
{

std::string TExchange::Header(THTTP_HEADER_ID AHeader) const
{
    return Worker.GetHeaderValue(AHeader);
}

void TExchange::ReplaceRange(std::string ARange)
{
    FRange = std::move(ARange);
    Request.HTTP_REQUEST->Headers.KnownHeaders[HttpHeaderRange] = {static_cast<std::uint16_t>(FRange.size()),
                                                                   FRange.data()};
}

void TExchange::RespondText(std::string AText, const char* AContentType)
{
    Response.SetContentType(AContentType);
    Response.SetResponseText(std::move(AText));
}

void TExchange::Redirect(const std::string& ALocation)
{
    Response.SetStatusCode(301);
    Response.SetStatusDescription(HttpStatusMsg(301));
    Response.AddUnknownHeader("Location", ALocation);
    Response.AddUnknownHeader("Cache-Control", "no-cache"); // folders come and go
    RespondText("See " + ALocation + "\n");
}

void TExchange::SendFile(TSiteEntry AFile, TReopen AReopen)
{
    FFile = std::move(AFile);
    std::string Name = FFile.ReopenName();
    if (AReopen == TReopen::ByPath) {
        char Path[PATH_MAX];
        const ssize_t Length = readlink(Name.c_str(), Path, sizeof(Path));
        if (Length > 0)
            Name.assign(Path, static_cast<std::size_t>(Length));
    }
    Response.SetResponseFileName(std::move(Name));
}

} // namespace Zn
