#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "common/Interfaces.h"
#include "common/Locks.h"
#include "platform/Api.h"

class TZnHTTPServerAuthToken;

/// The table of a server's tokens, by token id. Any thread.
class ZN_API IZnHTTPServerAuthTokens : public virtual IInterface
{
public:
    static constexpr TGUID IID{"2640f8dc-33c2-4e8a-aab9-b227fefe0034"};

    /// Tokens in the table, logged on or not. Any thread.
    virtual int Count() = 0;
    /// Puts a token in; its id isn't in the table. Any thread.
    virtual void Add(std::shared_ptr<TZnHTTPServerAuthToken> AToken) = 0;
    /// The token stays alive for as long as AToken is held, also when it ends meanwhile.
    virtual bool TryGetValue(const std::string& ATokenId,
                             std::shared_ptr<TZnHTTPServerAuthToken>& AToken) = 0;
    /// Takes the token of that id out; nothing happens without one. Any thread.
    virtual void Removetoken(const std::string& ATokenId) = 0;
    /// Ends all tokens. Each leaves the table by itself, soon.
    virtual void Clear() = 0;
};

/// The manager and every token hold a reference, so the table outlives the manager until its last
/// token has gone.
class ZN_API TZnHTTPServerAuthTokens : public virtual IZnHTTPServerAuthTokens
{
public:
    ~TZnHTTPServerAuthTokens() override;

    int Count() override;
    void Add(std::shared_ptr<TZnHTTPServerAuthToken> AToken) override;
    bool TryGetValue(const std::string& ATokenId, std::shared_ptr<TZnHTTPServerAuthToken>& AToken) override;
    void Removetoken(const std::string& ATokenId) override;
    void Clear() override;

    /// Adds AToken within a limit: when ALimit tokens are there already, the oldest that nobody has logged
    /// on with ends at once. False, and nothing is changed, when all are logged on.
    bool AddWithin(std::shared_ptr<TZnHTTPServerAuthToken> AToken, std::size_t ALimit);

private:
    /// Tokens that may wait for a logon stand in a list by age. One that was logged on leaves it when the
    /// search for the oldest comes by, so a logon costs nothing here.
    struct TEntry
    {
        std::shared_ptr<TZnHTTPServerAuthToken> Token;
        TEntry* Older = nullptr;
        TEntry* Newer = nullptr;
        bool Listed = false;
    };

    void Store(std::shared_ptr<TZnHTTPServerAuthToken> AToken) ZN_REQUIRES(FLock);
    void Unlist(TEntry& AEntry) ZN_REQUIRES(FLock);
    std::shared_ptr<TZnHTTPServerAuthToken> TakeOldestUnvalidated() ZN_REQUIRES(FLock);

    TZnCriticalSection FLock;
    // The keys are the tokens' own texts.
    std::unordered_map<std::string_view, TEntry> FTokens ZN_GUARDED_BY(FLock);
    TEntry* FOldest ZN_GUARDED_BY(FLock) = nullptr;
    TEntry* FNewest ZN_GUARDED_BY(FLock) = nullptr;
};
