#include "uZnHTTPClient/HTTPSession.h"

#include "uZnHTTPClient/Transports.h"

TZnHTTPSession::TZnHTTPSession(bool ANTService)
    : FObj(Zn::FindTransport(ANTService).MakeSession()),
      FIntf(Zn::Borrow(&dynamic_cast<IZnHTTPSession&>(*FObj)))
{
}

TZnHTTPSession::~TZnHTTPSession()
{
    FIntf.reset();
    FObj.reset();
}
