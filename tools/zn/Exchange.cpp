#include "tools/zn/Exchange.h"

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

void TExchange::SendFile(TSiteEntry AFile)
{
    FFile = std::move(AFile);
    Response.SetResponseFileName(FFile.ReopenName());
}

} // namespace Zn
