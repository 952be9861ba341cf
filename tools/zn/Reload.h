#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Zn
{

/// What `zn serve` reads anew while it serves: each part by itself, so that one that can't be read keeps what
/// it had and the others are renewed. On the main thread.
class TReload
{
public:
    /// AWhat is told when ARead raises, which then has changed nothing.
    void Add(std::string AWhat, std::function<void()> ARead);

    /// Reads all parts, tells the service manager, prints "Reloaded." and, on standard error, what was kept.
    void Run() const;

private:
    struct TPart
    {
        std::string What;
        std::function<void()> Read;
    };
    std::vector<TPart> FParts;
};

} // namespace Zn
