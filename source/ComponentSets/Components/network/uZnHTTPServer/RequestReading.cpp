// What a worker tells about the request in hand: header fields, cookies, languages, and the wait that
// notices a lost client. The body stands in BodyReading.cpp.

#include <algorithm>
#include <span>
#include <vector>

#include "common/Encoding.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "platform/sync/Wait.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/Worker.h"

namespace
{

std::span<const THTTP_UNKNOWN_HEADER> UnknownHeaders(const THTTP_REQUEST& ARequest)
{
    return {ARequest.Headers.pUnknownHeaders, ARequest.Headers.UnknownHeaderCount};
}

std::string_view Name(const THTTP_UNKNOWN_HEADER& AHeader)
{
    return {AHeader.pName, AHeader.NameLength};
}

std::string_view Value(const THTTP_UNKNOWN_HEADER& AHeader)
{
    return {AHeader.pRawValue, AHeader.RawValueLength};
}

} // namespace

std::string_view TZnHTTPServerResponseThread::GetHeaderView(THTTP_HEADER_ID AHeader) const
{
    ZnAssert(AHeader < HttpHeaderRequestMaximum);
    const THTTP_KNOWN_HEADER& Header = FHTTP_REQUEST->Headers.KnownHeaders[AHeader];
    if (Header.pRawValue == nullptr)
        return {};
    return {Header.pRawValue, Header.RawValueLength};
}

std::string TZnHTTPServerResponseThread::GetHeaderValue(const std::string& AHeader) const
{
    const auto Headers = UnknownHeaders(*FHTTP_REQUEST.Get());
    const auto Found = std::find_if(Headers.begin(), Headers.end(),
                                    [&](const auto& Each) { return SameText(Name(Each), AHeader); });
    return Found == Headers.end() ? std::string() : ZnStripLiterals(Value(*Found));
}

std::string TZnHTTPServerResponseThread::GetUnknownHeaderValue(std::uint16_t AHeaderIdx,
                                                               std::string& AHeader) const
{
    AHeader.clear();
    const auto Headers = UnknownHeaders(*FHTTP_REQUEST.Get());
    if (AHeaderIdx >= Headers.size())
        return {};
    AHeader = TZnEncoding::ConvertA(Name(Headers[AHeaderIdx]), cZnCodePageUTF8);
    return ZnStripLiterals(Value(Headers[AHeaderIdx]));
}

bool TZnHTTPServerResponseThread::GetCookie(const TZnURLData&, const std::string& ACookieName,
                                            std::string& ACookieValue)
{
    ACookieValue.clear();
    auto Cookies = FCookies.Locked();
    if (FCookiesParsed) {
        const auto Found = Cookies->find(ACookieName);
        if (Found == Cookies->end())
            return false;
        ACookieValue = Found->second;
        return true;
    }

    FCookiesParsed = true;
    Cookies->clear();
    bool Result = false;
    std::string_view Rest = GetHeaderView(HttpHeaderCookie);
    const auto SkipSpaces = [&] {
        Rest.remove_prefix(std::min(Rest.find_first_not_of(cZnSpace), Rest.size()));
    };
    SkipSpaces();
    while (!Rest.empty()) {
        const std::size_t End = std::min(Rest.find(cZnSemiColon), Rest.size());
        const TZnHTTPCookie Cookie({}, Rest.substr(0, End)); // a copy of the URL for each would be of no use
        if (SameText(Cookie.GetName(), ACookieName)) {
            Result = true;
            ACookieValue = Cookie.GetValue();
        }
        Cookies->insert_or_assign(Cookie.GetName(), Cookie.GetValue());
        Rest.remove_prefix(End < Rest.size() ? End + 1 : End);
        SkipSpaces();
    }
    return Result;
}

TZnHTTPAcceptedLanguages TZnHTTPServerResponseThread::GetAcceptedLanguages() const
{
    return ZnParseAcceptLanguage(GetHeaderView(HttpHeaderAcceptLanguage));
}

std::uint32_t TZnHTTPServerResponseThread::WaitForEvents(std::int32_t ATimeOut,
                                                         std::span<const THandle> AHandles)
{
    FDisconnectOverlapped = {};
    FDisconnectOverlapped.hEvent = FDisconnectEvent.Handle();
    FDisconnectArmed = true;
    std::vector<THandle> Handles(AHandles.begin(), AHandles.end());
    Handles.push_back(FTerminateEvent.Handle());
    Handles.push_back(FDisconnectEvent.Handle());
    const std::uint32_t Status =
        Zn::HttpApi.HttpWaitForDisconnect(GetReqQueue(), FHTTP_REQUEST->ConnectionId, &FDisconnectOverlapped);
    if (Status != ERROR_IO_PENDING)
        return WAIT_FAILED;
    return WaitForMultipleObjects(Handles, false, static_cast<std::uint32_t>(ATimeOut));
}
