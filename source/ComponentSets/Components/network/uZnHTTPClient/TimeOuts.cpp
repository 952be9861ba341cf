#include "uZnHTTPClient/TimeOuts.h"

void TZnHTTPTimeOuts::AssignTo(TPersistent* ADest) const
{
    if (auto* TimeOuts = dynamic_cast<TZnHTTPTimeOuts*>(ADest)) {
        TimeOuts->FConnectTimeOut = FConnectTimeOut;
        TimeOuts->FSendTimeOut = FSendTimeOut;
        TimeOuts->FReceiveTimeOut = FReceiveTimeOut;
        return;
    }
    TPersistent::AssignTo(ADest);
}
