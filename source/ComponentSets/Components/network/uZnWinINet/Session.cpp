#include "uZnWinINet/Session.h"

#include "uZnWinINet/Binding.h"
#include "uZnWinINetH.h"

TZnWinINetSession::TZnWinINetSession(TComponent* AOwner)
    : TZnHTTPTransportSession(AOwner, Zn::WinINetBinding(), "Tolmary WinINet Client")
{
}

TZnWinINetSession::~TZnWinINetSession()
{
    Shutdown();
}

void TZnWinINetSession::ApplySettings(void* AHandle, const TZnHTTPTimeOuts& ATimeOuts)
{
    ApplyTime(AHandle, INTERNET_OPTION_CONNECT_TIMEOUT, FConnectTimeOut, ATimeOuts.GetConnectTimeOut());
    ApplyTime(AHandle, INTERNET_OPTION_SEND_TIMEOUT, FSendTimeOut, ATimeOuts.GetSendTimeOut());
    ApplyTime(AHandle, INTERNET_OPTION_RECEIVE_TIMEOUT, FReceiveTimeOut, ATimeOuts.GetReceiveTimeOut());
}
