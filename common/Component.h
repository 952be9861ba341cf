#pragma once

#include <memory>
#include <string>
#include <vector>

/// Root of the class tree.
class TObject
{
public:
    virtual ~TObject() = default;

    /// The class's name in source form.
    std::string ClassName() const;
};

/// An object that can be copied onto another one.
class TPersistent : public TObject
{
public:
    /// Makes this object a copy of ASource as far as the two kinds fit; nullptr and kinds that
    /// don't fit raise EConvertError. A class overrides Assign to take from its like, or AssignTo
    /// to give itself to a class that doesn't know it.
    virtual void Assign(const TPersistent* ASource);

protected:
    TPersistent() = default;
    TPersistent(const TPersistent&) = default;
    TPersistent& operator=(const TPersistent&) = default;

    virtual void AssignTo(TPersistent* ADest) const;
};

enum TOperation { opInsert, opRemove };

/// An object with an owner and a name, which hears when components that matter to it go.
///
/// Use:       give AOwner (a form, a module, another component) and forget about it, or nullptr and
///            free it yourself.
/// Threads:   a component and all it owns belong to one thread.
/// Ownership: an owner deletes what it owns, the newest first, in its own destructor. A component
///            that goes before leaves its owner's list.
/// Errors:    SetName raises EComponentError.
class TComponent : public TPersistent
{
public:
    explicit TComponent(TComponent* AOwner = nullptr);
    ~TComponent() override;
    TComponent(const TComponent&) = delete;
    TComponent& operator=(const TComponent&) = delete;

    TComponent* GetOwner() const { return FOwner; }

    /// The components owned by this one, in the order in which they came.
    int GetComponentCount() const { return static_cast<int>(FComponents.size()); }
    TComponent* GetComponent(int AIndex) const;
    /// By name without regard to case; nullptr when there is none.
    TComponent* FindComponent(const std::string& AName) const;

    /// Empty, or an identifier that no other component of the owner has.
    const std::string& GetName() const { return FName; }
    virtual void SetName(const std::string& AName);

    /// Has both hear of the other's end by Notification(opRemove). Asking twice is asking once.
    void FreeNotification(TComponent* AComponent);
    void RemoveFreeNotification(TComponent* AComponent);

protected:
    /// AComponent came to this owner (opInsert: its own constructor is still running) or is being
    /// destroyed (opRemove: only its address is of use). Passed on to all owned components; an
    /// override calls its base class.
    virtual void Notification(TComponent* AComponent, TOperation AOperation);

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
class TZnComponent : public TComponent
{
public:
    using TComponent::TComponent;
    ~TZnComponent() override;

    /// True: the component is deleted with its last interface reference (it has no owner then).
    /// Default false: references are borrowed from whoever frees it.
    void SetAutoDestroy(bool AValue);
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
