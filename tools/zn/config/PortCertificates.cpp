#include "common/Json.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Config.h"
#include "tools/zn/config/Report.h"
#include "uZnHTTPServer.h"

namespace Zn
{

namespace
{

std::string Describe(std::int32_t APort)
{
    return "the certificate of port " + std::to_string(APort);
}

} // namespace

int ListPortCertificates(TListForm AForm)
{
    return Report({"the certificates of ports"}, [&] {
        TZnHTTPServerConfiguration Configuration(nullptr);
        const TZnHTTPServerSSLList& List = Configuration.GetSSLList();
        TJSONArray Json;
        std::vector<TRow> Rows;
        for (int Index = 0; Index < List.GetCount(); ++Index) {
            const TZnHTTPServerSSLRegistration& Entry = *List.GetItem(Index);
            auto Object = std::make_unique<TJSONObject>();
            Object->AddPair("ip", Entry.IP)
                .AddPair("port", Entry.Port)
                .AddPair("store", Entry.CertStoreName)
                .AddPair("thumbprint", Entry.CertThumbPrint);
            Json.Add(std::move(Object));
            Rows.push_back({std::to_string(Entry.Port), Entry.CertThumbPrint, Entry.CertStoreName});
        }
        if (AForm == TListForm::Json)
            PrintJson(Json);
        else
            PrintTable({"PORT", "THUMBPRINT", "STORE"}, Rows, "No port has a certificate.");
        return cExitOk;
    });
}

int AddPortCertificate(std::int32_t APort, const std::string& AThumbPrint, const std::string& AStore)
{
    return Report({Describe(APort)}, [&] {
        const std::string ThumbPrint = PlainThumbPrint(AThumbPrint);
        if (ThumbPrint.empty())
            return Fail(cExitUsage, "\"" + AThumbPrint + "\" is no thumbprint: 40 hexadecimal digits");
        TZnHTTPServerConfiguration Configuration(nullptr);
        Configuration.GetSSLList().Add(AStore, ThumbPrint, "0.0.0.0", APort);
        return cExitOk;
    });
}

int DeletePortCertificate(std::int32_t APort)
{
    return Report({Describe(APort)}, [&] {
        TZnHTTPServerConfiguration Configuration(nullptr);
        TZnHTTPServerSSLList& List = Configuration.GetSSLList();
        for (int Index = 0; Index < List.GetCount(); ++Index)
            if (List.GetItem(Index)->Port == APort) {
                List.Delete(Index);
                return cExitOk;
            }
        return Fail(cExitFailure, Describe(APort) + ": there is none");
    });
}

} // namespace Zn
