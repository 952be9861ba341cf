#include "common/Component.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "common/Interfaces.h"

namespace
{

std::vector<std::string> tEvents;

/// Tells its end, and what it hears of others.
class TProbe : public TComponent
{
public:
    explicit TProbe(TComponent* AOwner, const std::string& AName = "") : TComponent(AOwner)
    {
        SetName(AName);
    }
    ~TProbe() override { tEvents.push_back("~" + GetName()); }

    std::vector<const TComponent*> Removed;

protected:
    void Notification(TComponent* AComponent, TOperation AOperation) override
    {
        TComponent::Notification(AComponent, AOperation);
        if (AOperation == opRemove)
            Removed.push_back(AComponent);
    }
};

class IThing : public virtual IInterface
{
public:
    virtual int Number() = 0;
};

class TThing : public TZnComponent, public virtual IThing
{
public:
    explicit TThing(bool& AAlive) : FAlive(AAlive) { FAlive = true; }
    ~TThing() override { FAlive = false; }
    int Number() override { return 7; }

private:
    bool& FAlive;
};

} // namespace

TEST(Component, OwnerFreesTheNewestFirst)
{
    tEvents.clear();
    {
        TProbe Owner(nullptr, "Owner");
        auto* A = new TProbe(&Owner, "A");
        new TProbe(A, "A1");
        auto* B = new TProbe(&Owner, "B");
        new TProbe(&Owner, "C");
        EXPECT_EQ(Owner.GetComponentCount(), 3);
        EXPECT_EQ(Owner.GetComponent(1), B);
        delete B; // one that goes before leaves the list
        EXPECT_EQ(Owner.GetComponentCount(), 2);
        EXPECT_THROW(Owner.GetComponent(2), EListError);
    }
    EXPECT_EQ(tEvents, (std::vector<std::string>{"~B", "~Owner", "~C", "~A", "~A1"}));
}

TEST(Component, SubscribersHearOnceOfTheOthersEnd)
{
    auto* Server = new TProbe(nullptr, "Server");
    auto* Client = new TProbe(nullptr, "Client");
    TProbe Watcher(nullptr, "Watcher");
    Client->FreeNotification(Server);
    Client->FreeNotification(Server);
    Server->FreeNotification(&Watcher);
    Watcher.FreeNotification(Client);
    Watcher.RemoveFreeNotification(Client);

    delete Server;
    EXPECT_EQ(Client->Removed, std::vector<const TComponent*>{Server});
    EXPECT_EQ(Watcher.Removed, std::vector<const TComponent*>{Server});
    delete Client;
    EXPECT_EQ(Watcher.Removed.size(), 1U) << "the subscription was taken back";
}

TEST(Component, SubscriberThatGoesFirstIsForgotten)
{
    TProbe Server(nullptr, "Server");
    {
        TProbe Client(nullptr, "Client");
        Client.FreeNotification(&Server);
    }
    EXPECT_EQ(Server.Removed.size(), 1U);
    // Server's end notifies nobody: with a stale pointer AddressSanitizer would speak.
}

TEST(Component, SubscriberMayFreeAnotherMeanwhile)
{
    class TChain : public TProbe
    {
    public:
        using TProbe::TProbe;
        TComponent* Next = nullptr;

    protected:
        void Notification(TComponent* AComponent, TOperation AOperation) override
        {
            TProbe::Notification(AComponent, AOperation);
            if (AOperation == opRemove)
                delete std::exchange(Next, nullptr);
        }
    };
    auto* Server = new TProbe(nullptr, "Server");
    TChain First(nullptr, "First");
    auto* Second = new TProbe(nullptr, "Second");
    Server->FreeNotification(Second);
    Server->FreeNotification(&First); // notified first, frees Second
    First.Next = Second;
    delete Server;
    EXPECT_EQ(First.Removed.size(), 1U);
}

TEST(Component, OwnedComponentsHearOfASiblingsEnd)
{
    TProbe Owner(nullptr, "Owner");
    TProbe A(&Owner, "A");
    auto* B = new TProbe(&Owner, "B");
    delete B;
    EXPECT_EQ(A.Removed, std::vector<const TComponent*>{B});
}

TEST(Component, NamesAreIdentifiersAndUnique)
{
    TProbe Owner(nullptr, "Owner");
    TProbe A(&Owner, "Server1"), B(&Owner);
    for (const char* Bad : {"1st", "a b", "a.b", "h\xC3\xB6he", "a-b"})
        EXPECT_THROW(B.SetName(Bad), EComponentError) << Bad;
    EXPECT_THROW(B.SetName("SERVER1"), EComponentError);
    EXPECT_EQ(B.GetName(), "");
    B.SetName("_2");
    A.SetName("SERVER1"); // its own name in other letters
    EXPECT_EQ(Owner.FindComponent("server1"), &A);
    EXPECT_EQ(Owner.FindComponent("x"), nullptr);
    A.SetName("");
    EXPECT_EQ(Owner.FindComponent(""), nullptr);
    B.SetName("Server1");
}

TEST(Component, LastInterfaceReferenceFreesAnAutoDestroyComponent)
{
    bool Alive = false;
    auto* Thing = new TThing(Alive);
    Thing->SetAutoDestroy(true);
    std::shared_ptr<IThing> First = Thing->GetInterface<IThing>();
    EXPECT_EQ(Thing->GetInterface<IZnObjectAdapter<int>>(), nullptr);
    auto Second = ZnSupports<IInterface>(First);
    First.reset();
    EXPECT_TRUE(Alive);
    EXPECT_EQ(ZnSupports<IThing>(Second)->Number(), 7);
    Second.reset();
    EXPECT_FALSE(Alive);
}

TEST(Component, ReferencesDontFreeAnOrdinaryComponent)
{
    bool Alive = false;
    {
        TThing Thing(Alive);
        Thing.GetInterface<IThing>().reset();
        EXPECT_TRUE(Alive);
        auto Kept = Thing.GetInterface<IThing>();
        Thing.SetAutoDestroy(true);
        Thing.SetAutoDestroy(false);
    }
    EXPECT_FALSE(Alive);
    TComponent Owner;
    TZnComponent Owned(&Owner);
    EXPECT_THROW(Owned.SetAutoDestroy(true), EAssertionFailed);
}

TEST(Interfaces, GuidsKeepTheOrderInWhichTheyAreWritten)
{
    constexpr TGUID Id{"0a0d76b2-EE1C-442b-a879-dc0cc1a608f5"};
    constexpr TGUID Lower{"0a0d76b2-ee1c-442b-a879-dc0cc1a608f5"};
    EXPECT_EQ(Id.Bytes[0], 0x0A);
    EXPECT_EQ(Id.Bytes[4], 0xEE);
    EXPECT_EQ(Id.Bytes[15], 0xF5);
    EXPECT_EQ(Id, Lower);
}

TEST(Persistent, AssignRefusesWhatDoesNotFit)
{
    TComponent A, B;
    EXPECT_THROW(A.Assign(nullptr), EConvertError);
    try {
        A.Assign(&B);
        FAIL();
    } catch (const EConvertError& Error) {
        EXPECT_EQ(Error.Message(), "Cannot assign a TComponent to a TComponent");
    }
}
