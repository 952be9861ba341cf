#include <cstdio>
#include <ctime>

#include "common/Json.h"
#include "common/Streams.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Config.h"
#include "tools/zn/config/Report.h"
#include "uZnHTTPServer.h"

namespace Zn
{

namespace
{

constexpr std::int64_t cLongestFile = 1 << 20; // what a store takes

/// UTC, by strftime's AFormat.
std::string TimeText(std::int64_t ASeconds, const char* AFormat)
{
    const std::time_t Time = ASeconds;
    std::tm Parts{};
    gmtime_r(&Time, &Parts);
    char Text[64] = "";
    return std::string(Text, std::strftime(Text, sizeof Text, AFormat, &Parts));
}

std::unique_ptr<TJSONObject> ToJson(const TZnHTTPServerCertificate& ACertificate)
{
    constexpr const char* cIso = "%Y-%m-%dT%H:%M:%SZ";
    auto Result = std::make_unique<TJSONObject>();
    Result->AddPair("thumbprint", ACertificate.ThumbPrint)
        .AddPair("store", ACertificate.StoreName)
        .AddPair("names", ACertificate.Names)
        .AddPair("subject", ACertificate.Subject)
        .AddPair("issuer", ACertificate.Issuer)
        .AddPair("notBefore", TimeText(ACertificate.NotBefore, cIso))
        .AddPair("notAfter", TimeText(ACertificate.NotAfter, cIso))
        .AddPair("hasKey", ACertificate.HasKey);
    return Result;
}

TRow ToRow(const TZnHTTPServerCertificate& ACertificate)
{
    std::string Expires = TimeText(ACertificate.NotAfter, "%Y-%m-%d");
    if (ACertificate.NotAfter < std::time(nullptr))
        Expires += " (expired)";
    return {ACertificate.ThumbPrint, ACertificate.Names.empty() ? ACertificate.Subject : ACertificate.Names,
            Expires, ACertificate.StoreName, ACertificate.HasKey ? "yes" : "no"};
}

} // namespace

int ListCertificates(TListForm AForm, const std::string& AStore)
{
    return Report({"the certificates"}, [&] {
        TJSONArray Json;
        std::vector<TRow> Rows;
        for (const TZnHTTPServerCertificate& Each : ZnListServerCertificates(AStore)) {
            Json.Add(ToJson(Each));
            Rows.push_back(ToRow(Each));
        }
        if (AForm == TListForm::Json)
            PrintJson(Json);
        else
            PrintTable({"THUMBPRINT", "NAMES", "EXPIRES", "STORE", "KEY"}, Rows,
                       "There are no certificates. Make one with: zn config certificate create HOST");
        return cExitOk;
    });
}

int CreateCertificate(const std::string& AHost, std::int32_t ADays, const std::string& AStore)
{
    return Report({"a certificate for \"" + AHost + "\"",
                   "a host is a name as www.example.org or *.example.org, or an address"},
                  [&] {
                      std::printf("%s\n", ZnCreateServerCertificate(AHost, AStore, ADays).c_str());
                      return cExitOk;
                  });
}

int ImportCertificate(const std::string& AFileName, const std::string& AStore)
{
    return Report({AFileName}, [&] {
        TFileStream File(AFileName, fmOpenRead | fmShareDenyNone);
        if (File.GetSize() > cLongestFile)
            return Fail(cExitFailure, AFileName + ": too long for a certificate");
        std::string Text(static_cast<std::size_t>(File.GetSize()), '\0');
        File.ReadBuffer(Text.data(), Text.size());
        try {
            std::printf("%s\n", ZnImportServerCertificate(Text, AStore).c_str());
        } catch (const EZnException& Error) {
            if (Error.GetErrorCode() == ERROR_INVALID_DATA)
                return Fail(cExitFailure, AFileName + ": there is no certificate in it (PEM)");
            if (Error.GetErrorCode() == ERROR_NO_SUCH_LOGON_SESSION)
                return Fail(
                    cExitFailure,
                    AFileName +
                        ": the certificate's key isn't in it, or is under a password; put both into one "
                        "file: cat cert.pem key.pem > both.pem");
            throw;
        }
        return cExitOk;
    });
}

int DeleteCertificate(const std::string& AThumbPrint, const std::string& AStore)
{
    return Report({"the certificate " + AThumbPrint}, [&] {
        ZnDeleteServerCertificate(PlainThumbPrint(AThumbPrint), AStore);
        return cExitOk;
    });
}

} // namespace Zn
