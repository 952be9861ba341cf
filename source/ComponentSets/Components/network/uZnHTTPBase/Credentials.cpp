#include "uZnHTTPBase/Credentials.h"

void TZnCredentials::AssignTo(TPersistent* ADest) const
{
    if (auto* Credentials = dynamic_cast<TZnCredentials*>(ADest)) {
        Credentials->FUserName = FUserName;
        Credentials->FPassword = FPassword;
        return;
    }
    TPersistent::AssignTo(ADest);
}
