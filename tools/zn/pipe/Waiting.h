#pragma once

#include <csignal>

namespace Zn
{

/// Turns SIGINT and SIGTERM into something a loop can wait for. Made before any thread, which inherit the
/// mask.
class StopSignal
{
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Waits until the thread's messages have work, a signal came, or AInput (a descriptor, or -1) is
    /// readable, at most AMilliseconds (-1: for ever), and serves the messages. False when a signal came.
    bool Serve(int AMilliseconds, int AInput = -1);
    /// Whether the last Serve found AInput readable.
    bool HasInput() const { return FHasInput; }

private:
    int FSignals;
    bool FHasInput = false;
};

} // namespace Zn
