#include "common/Component.h"

#include <algorithm>

#include "common/Exceptions.h"
#include "common/Text.h"

std::string TObject::ClassName() const
{
    return Zn::TypeName(typeid(*this));
}

void TPersistent::Assign(const TPersistent* ASource)
{
    if (!ASource)
        throw EConvertError("Cannot assign nothing to a " + ClassName());
    ASource->AssignTo(this);
}

void TPersistent::AssignTo(TPersistent* ADest) const
{
    throw EConvertError("Cannot assign a " + ClassName() + " to a " + ADest->ClassName());
}

namespace
{

bool IsIdentifier(const std::string& AName)
{
    auto IsLetter = [](char AChar) {
        return (AChar >= 'A' && AChar <= 'Z') || (AChar >= 'a' && AChar <= 'z') || AChar == '_';
    };
    auto IsDigit = [](char AChar) { return AChar >= '0' && AChar <= '9'; };
    return !AName.empty() && IsLetter(AName.front()) &&
           std::ranges::all_of(AName, [&](char AChar) { return IsLetter(AChar) || IsDigit(AChar); });
}

} // namespace

TComponent::TComponent(TComponent* AOwner) : FOwner(AOwner)
{
    if (!FOwner)
        return;
    FOwner->FComponents.push_back(this);
    FOwner->Notification(this, opInsert);
}

TComponent::~TComponent()
{
    FDestroying = true;
    ForgetNotifications();
    DestroyComponents();
    if (FOwner) {
        std::erase(FOwner->FComponents, this);
        FOwner->Notification(this, opRemove);
    }
}

/// Tells every subscriber. One may end others, or its own subscription, meanwhile: so one at a time,
/// the newest first.
void TComponent::ForgetNotifications()
{
    while (!FFreeNotifies.empty()) {
        TComponent* Subscriber = FFreeNotifies.back();
        FFreeNotifies.pop_back();
        std::erase(Subscriber->FFreeNotifies, this);
        Subscriber->Notification(this, opRemove);
    }
}

void TComponent::DestroyComponents()
{
    while (!FComponents.empty())
        delete FComponents.back(); // takes itself off the list
}

TComponent* TComponent::GetComponent(int AIndex) const
{
    if (AIndex < 0 || AIndex >= GetComponentCount())
        throw EListError(ZnFormat("List index out of bounds (%d)", AIndex));
    return FComponents[static_cast<std::size_t>(AIndex)];
}

TComponent* TComponent::FindComponent(const std::string& AName) const
{
    auto Found = std::ranges::find_if(
        FComponents, [&](TComponent* AComponent) { return SameText(AComponent->FName, AName); });
    return AName.empty() || Found == FComponents.end() ? nullptr : *Found;
}

void TComponent::SetName(const std::string& AName)
{
    if (AName == FName)
        return;
    if (!AName.empty() && !IsIdentifier(AName))
        throw EComponentError("''" + AName + "'' is not a valid component name");
    if (FOwner) {
        TComponent* Other = FOwner->FindComponent(AName);
        if (Other && Other != this)
            throw EComponentError("A component named " + AName + " already exists");
    }
    FName = AName;
}

void TComponent::FreeNotification(TComponent* AComponent)
{
    if (!AComponent || AComponent == this ||
        std::ranges::find(FFreeNotifies, AComponent) != FFreeNotifies.end())
        return;
    FFreeNotifies.push_back(AComponent);
    AComponent->FFreeNotifies.push_back(this);
}

void TComponent::RemoveFreeNotification(TComponent* AComponent)
{
    if (!AComponent)
        return;
    std::erase(FFreeNotifies, AComponent);
    std::erase(AComponent->FFreeNotifies, this);
}

void TComponent::Notification(TComponent* AComponent, TOperation AOperation)
{
    // By index: an override may free components.
    for (std::size_t i = FComponents.size(); i-- > 0;) {
        if (i < FComponents.size() && FComponents[i] != AComponent)
            FComponents[i]->Notification(AComponent, AOperation);
    }
}

/// What the references to a component share: the last one to go deletes it.
struct TZnComponent::TReferences
{
    TZnComponent* Component;

    explicit TReferences(TZnComponent* AComponent) : Component(AComponent) {}
    ~TReferences()
    {
        if (Component && Component->FAutoDestroy)
            delete Component;
    }
    TReferences(const TReferences&) = delete;
    TReferences& operator=(const TReferences&) = delete;
};

TZnComponent::~TZnComponent()
{
    FAutoDestroy = false;
    if (auto References = FReferences.lock())
        References->Component = nullptr;
}

void TZnComponent::SetAutoDestroy(bool AValue)
{
    ZnAssert(!AValue || !GetOwner(), "A component with an owner is freed by its owner!");
    FAutoDestroy = AValue;
}

std::shared_ptr<TZnComponent::TReferences> TZnComponent::References()
{
    auto Result = FReferences.lock();
    if (!Result) {
        Result = std::make_shared<TReferences>(this);
        FReferences = Result;
    }
    return Result;
}
