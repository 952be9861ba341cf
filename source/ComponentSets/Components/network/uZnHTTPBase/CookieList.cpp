#include "uZnHTTPBase/Cookies.h"

#include <algorithm>

#include "common/Text.h"

namespace
{

bool Contains(std::string_view AText, std::string_view APart)
{
    return AText.find(APart) != std::string_view::npos;
}

/// Whether a cookie goes with a request, its expiry left aside. Path and domain need only occur
/// somewhere in the request's path and host.
bool BelongsTo(const TZnHTTPCookie& ACookie, const TZnURLData& AURLData)
{
    return SameText(ACookie.GetURLData().Hostname, AURLData.Hostname) &&
           Contains(AURLData.FilePath, ACookie.GetPath()) &&
           Contains(AURLData.Hostname, ACookie.GetDomain()) &&
           (!ACookie.GetSecure() || SameText(AURLData.Scheme, "https"));
}

} // namespace

void TZnHTTPCookieList::Clear()
{
    const TZnLockGuard Guard(FCriticalSesion);
    FCookies.clear();
}

void TZnHTTPCookieList::Add(const TZnURLData& AURLData, std::string_view ACookieData)
{
    auto Cookie = std::make_unique<TZnHTTPCookie>(AURLData, ACookieData);
    const TZnLockGuard Guard(FCriticalSesion);
    const auto Namesake = std::find_if(FCookies.rbegin(), FCookies.rend(), [&Cookie](const auto& AOther) {
        return SameText(AOther->GetName(), Cookie->GetName());
    });
    if (Namesake != FCookies.rend())
        FCookies.erase(std::next(Namesake).base());
    if (!Cookie->GetValue().empty())
        FCookies.push_back(std::move(Cookie));
}

void TZnHTTPCookieList::GetCookies(const TZnURLData& AURLData, const TZnHTTPAddCookie& AAddCookieProc)
{
    const TZnLockGuard Guard(FCriticalSesion);
    const TDateTime Present = Now();
    for (std::size_t Index = FCookies.size(); Index-- > 0;) {
        const TZnHTTPCookie& Cookie = *FCookies[Index];
        if (!Cookie.GetURLData().URL.empty()) {
            if (!BelongsTo(Cookie, AURLData))
                continue;
            if (Cookie.GetExpires() > 0 && Cookie.GetExpires() < Present) {
                FCookies.erase(FCookies.begin() + static_cast<std::ptrdiff_t>(Index));
                continue;
            }
        }
        AAddCookieProc(Cookie.GetName(), Cookie.GetValue());
    }
}

int TZnHTTPCookieList::Count() const
{
    const TZnLockGuard Guard(FCriticalSesion);
    return static_cast<int>(FCookies.size());
}
