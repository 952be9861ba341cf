#pragma once

#include <atomic>

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
    void Clear() { FComponent.store(nullptr); }

private:
    std::atomic<T*> FComponent;
};

} // namespace Zn
