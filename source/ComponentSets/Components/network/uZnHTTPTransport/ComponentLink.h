#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>

namespace Zn
{

/// What requests and responses know of a component that may go before them: shared with the component, which
/// clears it in its destructor. Unlike a free notification it may be made, read and dropped on any thread.
template <class T>
class ComponentLink
{
public:
    explicit ComponentLink(T* AComponent) : FComponent(AComponent) {}

    /// nullptr when the component is gone.
    T* Get() const { return FComponent.load(); }

    /// Calls AWork with the component unless it is gone; it doesn't go before AWork has returned.
    template <class TWork>
    void Use(TWork AWork) const
    {
        const std::shared_lock Guard(FUses);
        if (T* const Component = FComponent.load())
            AWork(*Component);
    }

    /// Waits for what Use is calling: not to be called from there.
    void Clear()
    {
        const std::unique_lock Guard(FUses);
        FComponent.store(nullptr);
    }

private:
    mutable std::shared_mutex FUses;
    std::atomic<T*> FComponent;
};

} // namespace Zn
