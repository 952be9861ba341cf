#include "tools/zn/request/CertificateDialog.h"

#include <cstdio>
#include <ctime>
#include <string>

#include <unistd.h>

#include "common/Text.h"
#include "platform/errors/Errors.h"

namespace Zn
{

namespace
{

constexpr std::size_t cMaxAnswer = 80;

std::string TextOf(std::chrono::sys_seconds ATime)
{
    const std::time_t Seconds = ATime.time_since_epoch().count();
    std::tm Parts{};
    gmtime_r(&Seconds, &Parts);
    char Text[32];
    std::strftime(Text, sizeof Text, "%Y-%m-%d %H:%M:%S", &Parts);
    return Text;
}

void Show(const TZnInternetError& AError)
{
    std::fprintf(stderr, "zn: %s\n  %s\n", WinINetErrorMsg(AError.ErrorCode).c_str(), AError.URL.c_str());
    if (!AError.Certificate)
        return;
    const TZnServerCertificate& Shown = *AError.Certificate;
    std::fprintf(stderr, "  Subject:  %s\n  Issuer:   %s\n  Valid:    %s to %s UTC\n  SHA-256:  %s\n",
                 Shown.Subject.c_str(), Shown.Issuer.c_str(), TextOf(Shown.NotBefore).c_str(),
                 TextOf(Shown.NotAfter).c_str(), Shown.Fingerprint.c_str());
}

/// A line from the terminal; empty at its end. Unbuffered: what is typed ahead belongs to others.
std::string ReadLine()
{
    std::string Line;
    char Char;
    while (read(STDIN_FILENO, &Char, 1) == 1 && Char != '\n') {
        if (Line.size() < cMaxAnswer)
            Line += Char;
    }
    return Line;
}

bool IsYes(const std::string& AAnswer)
{
    const std::string Answer = ZnTrim(AAnswer);
    return SameText(Answer, "y") || SameText(Answer, "yes");
}

} // namespace

bool TCertificateDialog::IsPossible()
{
    return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

TCertificateDialog::TCertificateDialog(TZnWinINetClient& AClient) : FClient(AClient)
{
    ZnSetInternetErrorDialog([this](TZnInternetError& AError) { return Ask(AError); });
    FClient.EnableErrorDialog(this);
}

TCertificateDialog::~TCertificateDialog()
{
    FClient.DisableErorDialog();
    ZnSetInternetErrorDialog(nullptr);
}

TZnInternetErrorAnswer TCertificateDialog::Ask(const TZnInternetError& AError)
{
    if (AError.ErrorCode == ERROR_WINHTTP_LOGIN_FAILURE)
        return iaAccept; // the response tells it
    Show(AError);
    std::fputs("Accept it for this request? [y/N] ", stderr);
    std::fflush(stderr);
    if (IsYes(ReadLine()))
        return iaAccept;
    FRefused = true;
    return iaCancel;
}

} // namespace Zn
