#include "uZnHTTPClient.h"

#include <gtest/gtest.h>

namespace
{

std::vector<void*> Closed;

struct TestConnection final : TZnHTTPConnection
{
    using TZnHTTPConnection::TZnHTTPConnection;
    ~TestConnection() override { Close(); }
    void CloseConnection(void* AConnection) override { Closed.push_back(AConnection); }
};

struct TestHandle final : TZnHTTPRequestHandle
{
    using TZnHTTPRequestHandle::TZnHTTPRequestHandle;
    ~TestHandle() override { TestHandle::CloseHandle(); }
    void CloseHandle() override
    {
        if (void* const Handle = Release())
            Closed.push_back(Handle);
    }
};

struct Connections : testing::Test
{
    TZnHTTPTimeOuts TimeOuts;
    int A = 0;
    int B = 0;
    int Handles[3] = {};
    TZnHTTPConnections Cache{
        [](const void* AClient, void* AHandle, const TZnHTTPTimeOuts& ATimeOuts, std::string AHost) {
            return std::make_shared<TestConnection>(AClient, AHandle, ATimeOuts, std::move(AHost));
        }};

    Connections() { Closed.clear(); }
};

} // namespace

TEST_F(Connections, OneForEachClient)
{
    Cache.AddConnection(&A, &Handles[0], TimeOuts, "h");
    EXPECT_THROW(Cache.AddConnection(&A, &Handles[1], TimeOuts, "h"), EListError);
    EXPECT_EQ(Cache.FindConnection(&A)->GetConnection(), &Handles[0]);
    EXPECT_EQ(Cache.FindConnection(&B), nullptr);
    Cache.RemoveClient(&B);
    EXPECT_EQ(Cache.Count(), 1);
    Cache.RemoveClient(&A);
    EXPECT_EQ(Cache.Count(), 0);
    EXPECT_EQ(Closed, (std::vector<void*>{&Handles[0]}));
}

TEST_F(Connections, WhatIsInUseClosesWithItsUserAndWithClear)
{
    auto InUse = Cache.AddConnection(&A, &Handles[0], TimeOuts, "h");
    Cache.RemoveConnection(InUse.get());
    EXPECT_TRUE(Closed.empty());
    InUse.reset();
    EXPECT_EQ(Closed.size(), 1U);
    InUse = Cache.AddConnection(&B, &Handles[1], TimeOuts, "h");
    Cache.Clear();
    EXPECT_EQ(Closed.size(), 2U);
    EXPECT_EQ(InUse->GetConnection(), nullptr);
    InUse.reset();
    EXPECT_EQ(Closed.size(), 2U) << "closed once";
}

TEST_F(Connections, RequestHandleClosesOnce)
{
    {
        TestHandle Handle(&Handles[2]);
        EXPECT_EQ(Handle.GetHandle(true), &Handles[2]);
        Handle.CloseHandle();
        Handle.CloseHandle();
        EXPECT_EQ(Handle.GetHandle(false), nullptr);
        EXPECT_THROW(Handle.GetHandle(true), EAbort);
    }
    EXPECT_EQ(Closed.size(), 1U);
}
