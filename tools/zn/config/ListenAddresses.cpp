#include "common/Json.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Config.h"
#include "tools/zn/config/Report.h"
#include "uZnHTTPServer.h"
#include "uZnIPHelper.h"

namespace Zn
{

namespace
{

/// What isn't an address at all is a wrong command line.
template <class TChange>
int ChangeAddress(const std::string& AAddress, TChange AChange)
{
    return Report({"the listen address " + AAddress, "that isn't an address"}, [&] {
        in_addr IPv4;
        IN6_ADDR IPv6;
        if (!ZnStrToIPAddr(AAddress, IPv4) && !ZnStrToIPAddr(AAddress, IPv6))
            return Fail(cExitUsage, "\"" + AAddress + "\" is neither an address nor a name that has one");
        TZnHTTPServerConfiguration Configuration(nullptr);
        AChange(Configuration.GetIPListenList());
        return cExitOk;
    });
}

} // namespace

int ListListenAddresses(TListForm AForm)
{
    return Report({"the IP listen list"}, [&] {
        TZnHTTPServerConfiguration Configuration(nullptr);
        TStringList Addresses;
        Configuration.GetIPListenList().FillIPList(Addresses);
        TJSONArray Json;
        std::vector<TRow> Rows;
        for (const std::string& Address : Addresses) {
            Json.Add(Address);
            Rows.push_back({Address});
        }
        if (AForm == TListForm::Json)
            PrintJson(Json);
        else
            PrintTable({"ADDRESS"}, Rows, "The list is empty: servers listen on all addresses.");
        return cExitOk;
    });
}

int AddListenAddress(const std::string& AAddress)
{
    return ChangeAddress(AAddress, [&](TZnHTTPServerIPListenList& AList) { AList.Add(AAddress); });
}

int DeleteListenAddress(const std::string& AAddress)
{
    return ChangeAddress(AAddress, [&](TZnHTTPServerIPListenList& AList) { AList.Delete(AAddress); });
}

} // namespace Zn
