#include "common/Events.h"

TEvent::TEvent(bool AManualReset, bool AInitialState)
    : FEvent(std::make_shared<TZnKernelEvent>(AManualReset, AInitialState))
{
}

TEvent::~TEvent()
{
    if (FHandle != 0)
        CloseHandle(FHandle);
}

THandle TEvent::Handle()
{
    std::call_once(FHandleMade, [this] { FHandle = RegisterHandle(FEvent); });
    return FHandle;
}
