#include "common/Json.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Config.h"
#include "tools/zn/config/Report.h"
#include "uZnHTTPServer.h"

namespace Zn
{

namespace
{

TMatter Matter(const std::string& AUrl)
{
    return {
        "the reservation of " + AUrl,
        "a URL prefix has a scheme, a host and a path, as http://+:8080/app/; a reservation has a security "
        "descriptor"};
}

} // namespace

int ListReservations(TListForm AForm)
{
    return Report({"the URL reservations"}, [&] {
        TZnHTTPServerConfiguration Configuration(nullptr);
        const TZnHTTPServerUrlAclList& List = Configuration.GetUrlAclList();
        TJSONArray Json;
        std::vector<TRow> Rows;
        for (int Index = 0; Index < List.GetCount(); ++Index) {
            const TZnHTTPServerUrlAclReservation& Entry = *List.GetItem(Index);
            auto Object = std::make_unique<TJSONObject>();
            Object->AddPair("urlPrefix", Entry.UrlPrefix)
                .AddPair("securityDescriptor", Entry.SecurityDescriptor);
            Json.Add(std::move(Object));
            Rows.push_back({Entry.UrlPrefix, Entry.SecurityDescriptor});
        }
        if (AForm == TListForm::Json)
            PrintJson(Json);
        else
            PrintTable({"URL PREFIX", "SECURITY DESCRIPTOR"}, Rows, "No URL is reserved.");
        return cExitOk;
    });
}

int AddReservation(const std::string& AUrl, const std::string& ASecurityDescriptor)
{
    return Report(Matter(AUrl), [&] {
        TZnHTTPServerConfiguration Configuration(nullptr);
        Configuration.GetUrlAclList().Add(AUrl, ASecurityDescriptor);
        return cExitOk;
    });
}

int DeleteReservation(const std::string& AUrl)
{
    return Report(Matter(AUrl), [&] {
        TZnHTTPServerConfiguration Configuration(nullptr);
        Configuration.GetUrlAclList().Delete(AUrl, "");
        return cExitOk;
    });
}

} // namespace Zn
