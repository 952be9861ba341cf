#include "uZnHTTPServer/OpenIDConnect.h"

#include "common/Exceptions.h"
#include "common/Json.h"
#include "common/NetEncoding.h"
#include "common/Text.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/OpenIDProvider.h"
#include "uZnHTTPServer/Server.h"

namespace
{

constexpr auto cRefetchPause = std::chrono::minutes(1);

std::string Member(const TJSONObject& AObject, std::string_view AName)
{
    const TJSONValue* const Value = AObject.Find(AName);
    return Value == nullptr ? std::string() : ZnVarToStr(Value->Value());
}

std::string FolderKey(const std::string& AOrigin, const std::string& APath)
{
    return LowerCase(AOrigin + "/" + APath);
}

template <class TKeys>
void AddKeySet(TKeys& AKeys, const std::string& AKeySet)
{
    const auto Document = TJSONObject::Parse(AKeySet);
    const auto* const Items = dynamic_cast<const TJSONArray*>(Document->Find("keys"));
    for (std::size_t Index = 0; Items != nullptr && Index < Items->Count(); ++Index) {
        const auto* const Item = dynamic_cast<const TJSONObject*>(Items->Item(Index));
        if (Item == nullptr)
            throw EConvertError("A key of the key set is no object!");
        auto Key = std::make_unique<TZnHTTPServerOIDCKey>(*Item);
        std::string Kid = Key->FKid;
        if (!AKeys.emplace(std::move(Kid), std::move(Key)).second)
            throw EListError("There is a key of that id already!");
    }
}

} // namespace

// --- One key ---------------------------------------------------------------------------------------

TZnHTTPServerOIDCKey::TZnHTTPServerOIDCKey(const TJSONObject& AKey)
    : FKid(Member(AKey, "kid")),
      FUse(Member(AKey, "use")),
      FKty(Member(AKey, "kty")),
      FModulus(Member(AKey, "n")),
      FExponent(Member(AKey, "e"))
{
}

std::shared_ptr<const TZnRSAPublicKey> TZnHTTPServerOIDCKey::GetPublicKey()
{
    if (!FPublicKey) {
        const TZnBase64Encoding& Base64 = TZnNetEncoding::GetBase64ExEncoding();
        std::string Exponent = Base64.Decode(FExponent);
        Exponent.erase(Exponent.find_last_not_of('\0') + 1); // some providers pad it at the wrong end
        FPublicKey = std::make_shared<const TZnRSAPublicKey>(
            TZnRSAPublicKey::MakeBlob(Exponent, Base64.Decode(FModulus)));
    }
    return FPublicKey;
}

// --- Settings --------------------------------------------------------------------------------------

TZnHTTPServerOIDC::TZnHTTPServerOIDC(TZnCustomHTTPServer& AOwner) : FOwner(AOwner) {}

TZnHTTPServerOIDC::~TZnHTTPServerOIDC() = default;

void TZnHTTPServerOIDC::CheckConfigured()
{
    const TZnLockGuard Guard(FLock);
    FConfigured =
        !FClientId.empty() &&
        (FTokenUrl.empty() ? !FAuthorizeUrl.empty() : !FClientSecret.empty() && !FRedirectUris.empty());
}

void TZnHTTPServerOIDC::SetClientId(const std::string& AValue)
{
    FClientId = AValue;
    CheckConfigured();
}

void TZnHTTPServerOIDC::SetClientSecret(const std::string& AValue)
{
    FClientSecret = AValue;
    CheckConfigured();
}

void TZnHTTPServerOIDC::SetTokenUrl(const std::string& AValue)
{
    FTokenUrl = AValue;
    CheckConfigured();
}

void TZnHTTPServerOIDC::SetAuthorizeUrl(const std::string& AValue)
{
    FAuthorizeUrl = AValue;
    CheckConfigured();
    if (FConfigured)
        GetKeys(*FKeys.Locked());
}

void TZnHTTPServerOIDC::AddRedirectUri(const std::string& AUri)
{
    const TZnURLData Url = TZnURLData::Create(AUri);
    {
        const TZnLockGuard Guard(FLock);
        if (!FRedirectUris.emplace(FolderKey(Url.Origin, Url.SubPath), AUri).second)
            throw EListError("The folder of \"" + AUri + "\" has a redirect URI already!");
    }
    CheckConfigured();
}

bool TZnHTTPServerOIDC::IsRedirectUri(const std::string& AOrigin, const std::string& APath,
                                      std::string& RedirectUri) const
{
    const TZnLockGuard Guard(FLock);
    const auto Found = FRedirectUris.find(FolderKey(AOrigin, APath));
    if (Found == FRedirectUris.end())
        return false;
    RedirectUri = Found->second;
    return true;
}

// --- Keys ------------------------------------------------------------------------------------------

void TZnHTTPServerOIDC::AddKeys(const std::string& AKeySet)
{
    AddKeySet(*FKeys.Locked(), AKeySet);
}

std::shared_ptr<const TZnRSAPublicKey> TZnHTTPServerOIDC::FindKey(const std::string& AKid)
{
    const auto Table = FKeys.Locked();
    if (Table->empty())
        GetKeys(*Table);
    auto Found = Table->find(AKid);
    if (Found == Table->end() && FChecks.RefetchKeys) {
        RefetchKeys(*Table);
        Found = Table->find(AKid);
    }
    return Found == Table->end() ? nullptr : Found->second->GetPublicKey();
}

/// What fails leaves the table empty, so that the next token tries again.
void TZnHTTPServerOIDC::GetKeys(Keys& AKeys)
{
    if (!FConfigured || FDiscoveryUrl.empty())
        return;
    try {
        FetchKeys(AKeys);
    } catch (const std::exception& E) {
        AKeys.clear();
        if (const auto& Logger = FOwner.GetAuthTokenManager().GetLogger())
            Logger->Exception(E, "OpenIDKeys");
    }
}

void TZnHTTPServerOIDC::FetchKeys(Keys& AKeys) const
{
    const std::optional<std::string> Discovery = Zn::GetFromProvider(FDiscoveryUrl);
    if (!Discovery)
        return;
    const std::string KeysUrl = Member(*TJSONObject::Parse(*Discovery), "jwks_uri");
    if (KeysUrl.empty())
        return;
    if (const std::optional<std::string> KeySet = Zn::GetFromProvider(KeysUrl))
        AddKeySet(AKeys, *KeySet);
}

/// A provider has changed its keys, or somebody makes ids up: the pause keeps those from making this server
/// ask all the time. The old keys stay when no new ones come.
void TZnHTTPServerOIDC::RefetchKeys(Keys& AKeys)
{
    const auto Time = Clock::now();
    if (FRefetched && Time - *FRefetched < cRefetchPause)
        return;
    FRefetched = Time;
    Keys Fetched;
    GetKeys(Fetched);
    if (!Fetched.empty())
        AKeys = std::move(Fetched);
}
