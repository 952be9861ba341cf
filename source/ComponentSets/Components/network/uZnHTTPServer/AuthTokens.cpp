#include "uZnHTTPServer/AuthTokens.h"

#include <utility>
#include <vector>

#include "uZnHTTPServer/AuthToken.h"

TZnHTTPServerAuthTokens::~TZnHTTPServerAuthTokens() = default;

int TZnHTTPServerAuthTokens::Count()
{
    TZnLockGuard Guard(FLock);
    return static_cast<int>(FTokens.size());
}

void TZnHTTPServerAuthTokens::Add(std::shared_ptr<TZnHTTPServerAuthToken> AToken)
{
    TZnLockGuard Guard(FLock);
    Store(std::move(AToken));
}

bool TZnHTTPServerAuthTokens::TryGetValue(const std::string& ATokenId,
                                          std::shared_ptr<TZnHTTPServerAuthToken>& AToken)
{
    TZnLockGuard Guard(FLock);
    const auto Found = FTokens.find(ATokenId);
    if (Found == FTokens.end()) {
        AToken.reset();
        return false;
    }
    AToken = Found->second.Token;
    return true;
}

void TZnHTTPServerAuthTokens::Removetoken(const std::string& ATokenId)
{
    decltype(FTokens)::node_type Removed; // freed outside of the lock
    TZnLockGuard Guard(FLock);
    const auto Found = FTokens.find(ATokenId);
    if (Found == FTokens.end())
        return;
    Unlist(Found->second);
    Removed = FTokens.extract(Found);
}

void TZnHTTPServerAuthTokens::Clear()
{
    std::vector<std::shared_ptr<TZnHTTPServerAuthToken>> Tokens;
    {
        TZnLockGuard Guard(FLock);
        Tokens.reserve(FTokens.size());
        for (const auto& [Id, Entry] : FTokens)
            Tokens.push_back(Entry.Token);
    }
    for (const auto& Token : Tokens)
        Token->Terminate();
}

bool TZnHTTPServerAuthTokens::AddWithin(std::shared_ptr<TZnHTTPServerAuthToken> AToken, std::size_t ALimit)
{
    std::shared_ptr<TZnHTTPServerAuthToken> Ended;
    {
        TZnLockGuard Guard(FLock);
        if (FTokens.size() >= ALimit) {
            Ended = TakeOldestUnvalidated();
            if (!Ended)
                return false;
        }
        Store(std::move(AToken));
    }
    if (Ended)
        Ended->Terminate();
    return true;
}

void TZnHTTPServerAuthTokens::Store(std::shared_ptr<TZnHTTPServerAuthToken> AToken)
{
    const std::string_view Id = AToken->GetTokenId();
    const auto [Place, IsNew] = FTokens.try_emplace(Id);
    if (!IsNew)
        return; // the token itself: two of one id don't occur
    TEntry& Entry = Place->second;
    Entry = {.Token = std::move(AToken), .Older = FNewest, .Newer = nullptr, .Listed = true};
    (FNewest != nullptr ? FNewest->Newer : FOldest) = &Entry;
    FNewest = &Entry;
}

void TZnHTTPServerAuthTokens::Unlist(TEntry& AEntry)
{
    if (!std::exchange(AEntry.Listed, false))
        return;
    (AEntry.Older != nullptr ? AEntry.Older->Newer : FOldest) = AEntry.Newer;
    (AEntry.Newer != nullptr ? AEntry.Newer->Older : FNewest) = AEntry.Older;
}

std::shared_ptr<TZnHTTPServerAuthToken> TZnHTTPServerAuthTokens::TakeOldestUnvalidated()
{
    while (FOldest != nullptr) {
        TEntry& Oldest = *FOldest;
        Unlist(Oldest);
        if (Oldest.Token->GetValidated() && !Oldest.Token->GetTerminated())
            continue;
        std::shared_ptr<TZnHTTPServerAuthToken> Token = Oldest.Token;
        FTokens.erase(Token->GetTokenId());
        return Token;
    }
    return nullptr;
}
