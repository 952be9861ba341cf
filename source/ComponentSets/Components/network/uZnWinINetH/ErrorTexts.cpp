#include <algorithm>
#include <array>
#include <string_view>

#include "uZnWinHTTPH/Exceptions.h"
#include "uZnWinINetH/Exceptions.h"

namespace
{

struct ErrorText
{
    std::uint32_t Code;
    std::string_view Text;
};

// Sorted by code.
constexpr std::array cTexts = std::to_array<ErrorText>({
    {6, "The handle is not valid."},
    {18, "There are no more files."},
    {234, "There is more data than was taken."},
    {259, "There are no more items."},
    {12001, "No more handles could be made."},
    {12002, "The request has timed out."},
    {12003, "The server has given an error of its own, which its answer describes."},
    {12004, "An internal error has occurred."},
    {12005, "The URL is not valid."},
    {12006, "The scheme of the URL is not known, or not supported."},
    {12007, "The name of the server could not be resolved."},
    {12008, "The protocol that was asked for could not be found."},
    {12009, "The option is not known for this handle."},
    {12010, "The length of the option's value does not fit its type."},
    {12011, "The option can be asked for, but not set."},
    {12012, "The support for this protocol is being shut down."},
    {12013, "The user name is not correct."},
    {12014, "The password is not correct."},
    {12015, "The request to connect and log on to an FTP server failed."},
    {12016, "The operation is not valid."},
    {12017, "The operation was canceled, usually because the handle on which the request was operating was "
            "closed before the operation completed."},
    {12018, "The handle is of the wrong kind for this operation."},
    {12019, "The operation cannot be done in the present state of the handle."},
    {12020, "The request cannot be made through a proxy."},
    {12021, "A setting that is needed could not be found."},
    {12022, "A setting that is needed has a value that cannot be."},
    {12023, "Direct access to the network is not possible now."},
    {12024, "An asynchronous request was made without a context."},
    {12025, "An asynchronous request was made without a callback."},
    {12026, "The operation is waiting for other requests to complete."},
    {12027, "The format of the request is not valid."},
    {12028, "The item could not be found."},
    {12029, "The attempt to connect to the server failed."},
    {12030, "The connection with the server has been terminated."},
    {12031, "The connection with the server has been reset."},
    {12032, "The function needs to redo the request."},
    {12033, "The request to the proxy was not valid."},
    {12034, "The user has to be asked."},
    {12036, "There is a handle of that name already."},
    {12037, "SSL certificate date that was received from the server is bad. The certificate is expired."},
    {12038, "The name in the server's SSL certificate is not that of the server."},
    {12039, "The application is being redirected from a connection without SSL to one with it."},
    {12040, "The application is being redirected from a connection with SSL to one without it."},
    {12041, "The content is not secure as a whole: some of it came without SSL."},
    {12042, "The application is posting and attempting to change text on a server that is not secure."},
    {12043, "The application is posting data to a server that is not secure."},
    {12044, "The server is requesting client authentication."},
    {12045,
     "The function is unfamiliar with the Certificate Authority that generated the server's certificate."},
    {12046, "Client authentication is not set up on this computer."},
    {12047, "An asynchronous thread could not be started."},
    {12048, "The redirection leads to another scheme."},
    {12049, "Another request is waiting for the user's answer."},
    {12050, "The dialog should be shown again."},
    {12052, "The data would be sent on to a connection that is not secure."},
    {12053, "A medium that holds the data has to be inserted."},
    {12054, "A logon to the hardware that holds the key is needed."},
    {12055, "The SSL certificate contains errors."},
    {12056, "The SSL certificate was not checked for revocation."},
    {12057, "Revocation of the SSL certificate failed."},
    {12110, "The FTP operation cannot be done: a transfer is under way."},
    {12111, "The FTP operation was not completed: the session was ended."},
    {12112, "Passive mode is not available on the FTP server."},
    {12130, "An error was found while data from the gopher server was read."},
    {12131, "The gopher request has to be made for a file."},
    {12132, "An error was found while data was received from the gopher server."},
    {12133, "The end of the gopher data has been reached."},
    {12134, "The gopher locator is not valid."},
    {12135, "The type of the gopher locator does not fit this operation."},
    {12136, "The gopher operation needs a newer kind of item or server."},
    {12137, "The gopher attribute could not be found."},
    {12138, "The type of the gopher locator is unknown."},
    {12150, "The requested header could not be located."},
    {12151, "The server did not send any headers."},
    {12152, "The server response could not be parsed."},
    {12153, "The header is not valid."},
    {12154, "The request for information about a header is not valid."},
    {12155, "The header could not be added because it already exists."},
    {12156, "The redirection failed: the scheme changed, or there were too many redirections."},
    {12157, "The secure channel could not be set up."},
    {12158, "The file could not be cached."},
    {12159, "The network protocols are not installed."},
    {12160, "The request was not redirected."},
    {12161, "The cookie needs the user's consent."},
    {12162, "The cookie was declined by acceptance."},
    {12163, "The connection to the network was lost."},
    {12164, "The server cannot be reached."},
    {12165, "The proxy cannot be reached."},
    {12166, "The script for the choice of a proxy has an error."},
    {12167, "The script for the choice of a proxy could not be downloaded."},
    {12168, "The redirection needs the user's consent."},
    {12169, "The SSL certificate is not valid."},
    {12170, "The SSL certificate was revoked."},
    {12171, "The function failed because of a security check."},
    {12172, "The library is not initialized."},
    {12173, "A logon package that the server asks for is missing."},
    {12174, "The logon failed; the response's body tells why."},
    {12175, "The content could not be decoded."},
});
static_assert(std::ranges::is_sorted(cTexts, {}, &ErrorText::Code));

} // namespace

std::string WinINetErrorMsg(std::uint32_t AErrorCode)
{
    const auto Found = std::ranges::lower_bound(cTexts, AErrorCode, {}, &ErrorText::Code);
    if (Found == cTexts.end() || Found->Code != AErrorCode)
        return WinHttpErrorMsg(AErrorCode);
    return std::string(Found->Text);
}
