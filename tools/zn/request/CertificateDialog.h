#pragma once

#include "uZnWinINet.h"

namespace Zn
{

/// Asks on the terminal whether a certificate that isn't trusted is to be accepted, as long as this lives.
/// Standard input and standard error have to be a terminal (IsPossible).
class TCertificateDialog
{
public:
    explicit TCertificateDialog(TZnWinINetClient& AClient);
    ~TCertificateDialog();
    TCertificateDialog(const TCertificateDialog&) = delete;
    TCertificateDialog& operator=(const TCertificateDialog&) = delete;

    static bool IsPossible();

    /// The user said no.
    bool Refused() const { return FRefused; }

private:
    TZnInternetErrorAnswer Ask(const TZnInternetError& AError);

    TZnWinINetClient& FClient;
    bool FRefused = false;
};

} // namespace Zn
