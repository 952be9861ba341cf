#pragma once

#include <memory>
#include <utility>

#include "platform/interfaces/Interface.h"

/// Gives an object that somebody else owns for the length of a reference.
template <class T>
class IZnObjectAdapter : public virtual IInterface
{
public:
    /// Borrowed: valid as long as the reference to this interface.
    virtual T* GetObject() = 0;
};

/// A shared holder that owns an object and frees it with itself.
template <class T>
class TZnObjectAdapter : public virtual IZnObjectAdapter<T>
{
public:
    /// Owns AObject from now on.
    explicit TZnObjectAdapter(std::unique_ptr<T> AObject) : FObject(std::move(AObject)) {}

    /// The object, borrowed: it lives as long as the adapter.
    T* GetObject() override { return FObject.get(); }

protected:
    /// The object, for subclasses.
    const std::unique_ptr<T>& Object() const { return FObject; }

private:
    std::unique_ptr<T> FObject;
};
