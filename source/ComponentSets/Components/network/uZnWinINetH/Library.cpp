#include "uZnWinINetH/Library.h"

Zn::WinINetFunctions Zn::WinINet;

void ZnUnloadWinINet()
{
    Zn::WinINet.Library.Unload();
}
