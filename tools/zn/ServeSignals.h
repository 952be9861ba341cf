#pragma once

#include "tools/zn/FileWatch.h"
#include "tools/zn/Reload.h"

namespace Zn
{

/// Holds back what stops and reloads zn serve, for all threads that are made from here on: SIGINT and
/// SIGTERM; SIGHUP too unless standard input is a terminal, whose end should end the server as ever.
void HoldSignals();

/// Sleeps until the first SIGINT or SIGTERM and runs AReload on each SIGHUP and, with AWatch, within two
/// seconds of a change of its files. From then on
/// another one of the two has its usual effect.
void WaitForStop(const TReload& AReload, TFileWatch* AWatch);

} // namespace Zn
