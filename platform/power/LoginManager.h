#pragma once

#include <thread>

#include "platform/power/Power.h"
#include "platform/sync/Event.h"

namespace Zn
{

/// The login manager's signals, on a thread of its own, which ends when the bus goes.
class LoginManager : public PowerWatch
{
public:
    LoginManager() : FThread([this] { Run(); }) {}
    ~LoginManager() override;

private:
    void Run();

    TZnKernelEvent FStop;
    std::thread FThread;
};

} // namespace Zn
