#include "platform/wininet/Exports.h"

#include "platform/wininet/Wininet.h"

namespace
{

template <class T>
void* Address(T* AFunction)
{
    return reinterpret_cast<void*>(AFunction);
}

} // namespace

std::span<const TZnExport> WininetExports()
{
    static const TZnExport Table[] = {
        {"InternetOpenW", Address(InternetOpenW)},
        {"InternetConnectW", Address(InternetConnectW)},
        {"InternetSetOptionW", Address(InternetSetOptionW)},
        {"InternetQueryOptionW", Address(InternetQueryOptionW)},
        {"InternetCloseHandle", Address(InternetCloseHandle)},
        {"HttpOpenRequestW", Address(HttpOpenRequestW)},
        {"HttpAddRequestHeadersW", Address(HttpAddRequestHeadersW)},
        {"HttpSendRequestW", Address(HttpSendRequestW)},
        {"HttpQueryInfoW", Address(HttpQueryInfoW)},
        {"InternetQueryDataAvailable", Address(InternetQueryDataAvailable)},
        {"InternetReadFile", Address(InternetReadFile)},
        {"InternetErrorDlg", Address(InternetErrorDlg)},
        {"ZnInternetSetErrorDialog", Address(ZnInternetSetErrorDialog)},
    };
    return Table;
}
