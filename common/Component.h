#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Api.h"

/// Root of the class tree.
class ZN_API TObject
{
public:
    virtual ~TObject() = default;

    /// The class's name in source form.
    std::string ClassName() const;
};

/// An object that can be copied onto another one.
class ZN_API TPersistent : public TObject
{
public:
    /// Makes this object a copy of ASource as far as the two kinds fit; nullptr and kinds that
    /// don't fit raise EConvertError. A class overrides Assign to take from its like, or AssignTo
    /// to give itself to a class that doesn't know it.
    virtual void Assign(const TPersistent* ASource);

protected:
    TPersistent() = default;
    /// Copies what a subclass has; a TPersistent itself holds nothing.
    TPersistent(const TPersistent&) = default;
    /// Copies what a subclass has.
    TPersistent& operator=(const TPersistent&) = default;

    /// The other half of Assign: a source that knows ADest's class writes itself into it. Raises
    /// EConvertError where no subclass does.
    virtual void AssignTo(TPersistent* ADest) const;
};

/// What Notification tells of: a component came, or is about to go.
enum TOperation { opInsert, opRemove };

/// An object with an owner and a name, which hears when components that matter to it go.
///
/// Use:       give AOwner (a form, a module, another component) and forget about it, or nullptr and
///            free it yourself.
/// Threads:   a component and all it owns belong to one thread.
/// Ownership: an owner deletes what it owns, the newest first, in its own destructor. A component
///            that goes before leaves its owner's list.
/// Errors:    SetName raises EComponentError.
class ZN_API TComponent : public TPersistent
{
public:
    /// AOwner frees the component with itself; nullptr: whoever made it does.
    explicit TComponent(TComponent* AOwner = nullptr);
    ~TComponent() override;
    TComponent(const TComponent&) = delete;
    TComponent& operator=(const TComponent&) = delete;

    /// Who frees it; nullptr: nobody but its maker.
    TComponent* GetOwner() const { return FOwner; }

    /// The components owned by this one, in the order in which they came.
    int GetComponentCount() const { return static_cast<int>(FComponents.size()); }
    /// One of those that it owns, in the order of their making. Raises EListError for an index that isn't
    /// there.
    TComponent* GetComponent(int AIndex) const;
    /// By name without regard to case; nullptr when there is none.
    TComponent* FindComponent(const std::string& AName) const;

    /// Empty, or an identifier that no other component of the owner has.
    const std::string& GetName() const { return FName; }
    virtual void SetName(const std::string& AName);

    /// Has both hear of the other's end by Notification(opRemove). Asking twice is asking once.
    void FreeNotification(TComponent* AComponent);
    /// Takes one FreeNotification back, on both sides. Nothing happens without one.
    void RemoveFreeNotification(TComponent* AComponent);

protected:
    /// AComponent came to this owner (opInsert: its own constructor is still running) or is being
    /// destroyed (opRemove: only its address is of use). Passed on to all owned components; an
    /// override calls its base class.
    virtual void Notification(TComponent* AComponent, TOperation AOperation);

    /// Its destructor has begun.
    bool IsDestroying() const { return FDestroying; }

private:
    void DestroyComponents();
    void ForgetNotifications();

    TComponent* FOwner;
    std::string FName;
    std::vector<TComponent*> FComponents;
    std::vector<TComponent*> FFreeNotifies;
    bool FDestroying = false;
};

/// A component that can also be held by its interfaces.
class ZN_API TZnComponent : public TComponent
{
public:
    using TComponent::TComponent;
    ~TZnComponent() override;

    /// True: the component is deleted with its last interface reference (it has no owner then).
    /// Default false: references are borrowed from whoever frees it.
    void SetAutoDestroy(bool AValue);
    /// As SetAutoDestroy left it.
    bool GetAutoDestroy() const { return FAutoDestroy; }

    /// A reference to the component by its interface T, or empty if it has no T. References may
    /// be copied and dropped on any thread.
    template <class T>
    std::shared_ptr<T> GetInterface()
    {
        T* Interface = dynamic_cast<T*>(this);
        return Interface ? std::shared_ptr<T>(References(), Interface) : std::shared_ptr<T>();
    }

private:
    struct TReferences;
    std::shared_ptr<TReferences> References();

    std::weak_ptr<TReferences> FReferences;
    bool FAutoDestroy = false;
};
