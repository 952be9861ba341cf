#include <functional>
#include <utility>

#include "platform/firewall/AuthorizedPrograms.h"
#include "platform/firewall/Exports.h"
#include "platform/firewall/HostFirewall.h"
#include "platform/firewall/NetFw.h"

namespace
{

using Zn::AuthorizedProgram;
using Zn::AuthorizedPrograms;
using Zn::ProgramsFile;

/// What drafts and listed entries share: each reads and changes a record, wherever that stands.
class ApplicationBase : public INetFwAuthorizedApplication
{
public:
    HRESULT get_Name(std::string& AName) override
    {
        return Read([&](const AuthorizedProgram& AEntry) { AName = AEntry.Name; });
    }
    HRESULT put_Name(const std::string& AName) override
    {
        return Change([&](AuthorizedProgram& AEntry) { AEntry.Name = AName; });
    }
    HRESULT get_ProcessImageFileName(std::string& APath) override
    {
        return Read([&](const AuthorizedProgram& AEntry) { APath = AEntry.Path; });
    }
    HRESULT get_IpVersion(std::int32_t& AVersion) override
    {
        return Read([&](const AuthorizedProgram& AEntry) { AVersion = AEntry.IpVersion; });
    }
    HRESULT put_IpVersion(std::int32_t AVersion) override
    {
        if (!Zn::IsIpVersion(AVersion))
            return HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER);
        return Change([&](AuthorizedProgram& AEntry) { AEntry.IpVersion = AVersion; });
    }
    HRESULT get_Scope(std::int32_t& AScope) override
    {
        return Read([&](const AuthorizedProgram& AEntry) { AScope = AEntry.Scope; });
    }
    HRESULT put_Scope(std::int32_t AScope) override
    {
        if (!Zn::IsScope(AScope))
            return HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER);
        return Change([&](AuthorizedProgram& AEntry) { AEntry.Scope = AScope; });
    }
    HRESULT get_Enabled(VARIANT_BOOL& AEnabled) override
    {
        return Read([&](const AuthorizedProgram& AEntry) {
            AEnabled = AEntry.Enabled ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }
    HRESULT put_Enabled(VARIANT_BOOL AEnabled) override
    {
        return Change([&](AuthorizedProgram& AEntry) { AEntry.Enabled = AEnabled != VARIANT_FALSE; });
    }

protected:
    virtual HRESULT Read(const std::function<void(const AuthorizedProgram&)>& ARead) = 0;
    virtual HRESULT Change(const std::function<void(AuthorizedProgram&)>& AChange) = 0;
};

class DraftApplication final : public ApplicationBase
{
public:
    HRESULT put_ProcessImageFileName(const std::string& APath) override
    {
        return Change([&](AuthorizedProgram& AEntry) { AEntry.Path = APath; });
    }

protected:
    HRESULT Read(const std::function<void(const AuthorizedProgram&)>& ARead) override
    {
        ARead(FEntry);
        return S_OK;
    }
    HRESULT Change(const std::function<void(AuthorizedProgram&)>& AChange) override
    {
        AChange(FEntry);
        return S_OK;
    }

private:
    AuthorizedProgram FEntry;
};

class StoredApplication final : public ApplicationBase
{
public:
    explicit StoredApplication(std::string APath) : FPath(std::move(APath)) {}

    HRESULT put_ProcessImageFileName(const std::string&) override
    {
        return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
    }

protected:
    HRESULT Read(const std::function<void(const AuthorizedProgram&)>& ARead) override
    {
        AuthorizedPrograms Programs;
        std::uint32_t Result = ProgramsFile.Load(Programs);
        if (Result == NO_ERROR)
            Result = Use(Programs, ARead);
        return HRESULT_FROM_WIN32(Result);
    }
    HRESULT Change(const std::function<void(AuthorizedProgram&)>& AChange) override
    {
        return HRESULT_FROM_WIN32(
            ProgramsFile.Change([&](AuthorizedPrograms& APrograms) { return Use(APrograms, AChange); }));
    }

private:
    template <class TUse>
    std::uint32_t Use(AuthorizedPrograms& APrograms, const TUse& AUse) const
    {
        AuthorizedProgram* const Entry = APrograms.Find(FPath);
        if (Entry == nullptr)
            return ERROR_NOT_FOUND;
        AUse(*Entry);
        return NO_ERROR;
    }

    std::string FPath;
};

/// A copy of an entry of anybody's making, by its interface alone.
HRESULT CopyOf(INetFwAuthorizedApplication& AApplication, AuthorizedProgram& AResult)
{
    VARIANT_BOOL Enabled = VARIANT_FALSE;
    HRESULT Result = AApplication.get_ProcessImageFileName(AResult.Path);
    if (Result == S_OK)
        Result = AApplication.get_Name(AResult.Name);
    if (Result == S_OK)
        Result = AApplication.get_Scope(AResult.Scope);
    if (Result == S_OK)
        Result = AApplication.get_IpVersion(AResult.IpVersion);
    if (Result == S_OK)
        Result = AApplication.get_Enabled(Enabled);
    AResult.Enabled = Enabled != VARIANT_FALSE;
    return Result;
}

class AuthorizedApplications final : public INetFwAuthorizedApplications
{
public:
    HRESULT get_Count(std::int32_t& ACount) override
    {
        AuthorizedPrograms Programs;
        const std::uint32_t Result = ProgramsFile.Load(Programs);
        ACount = static_cast<std::int32_t>(Programs.Entries.size());
        return HRESULT_FROM_WIN32(Result);
    }

    HRESULT Add(const std::shared_ptr<INetFwAuthorizedApplication>& AApplication) override
    {
        AuthorizedProgram Entry;
        if (!AApplication)
            return HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER);
        if (const HRESULT Result = CopyOf(*AApplication, Entry); Result != S_OK)
            return Result;
        if (!Zn::IsProgramPath(Entry.Path) || !Zn::IsScope(Entry.Scope) || !Zn::IsIpVersion(Entry.IpVersion))
            return HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER);
        return HRESULT_FROM_WIN32(ProgramsFile.Change([&](AuthorizedPrograms& APrograms) -> std::uint32_t {
            AuthorizedProgram* const Old = APrograms.Find(Entry.Path);
            if (Old != nullptr)
                *Old = Entry;
            else if (APrograms.Entries.size() >= AuthorizedPrograms::MaxCount)
                return ERROR_NOT_ENOUGH_QUOTA;
            else
                APrograms.Entries.push_back(Entry);
            return NO_ERROR;
        }));
    }

    HRESULT Remove(const std::string& APath) override
    {
        return HRESULT_FROM_WIN32(ProgramsFile.Change([&](AuthorizedPrograms& APrograms) -> std::uint32_t {
            const auto IsIt = [&](const AuthorizedProgram& AEntry) { return AEntry.Path == APath; };
            return std::erase_if(APrograms.Entries, IsIt) == 0 ? ERROR_FILE_NOT_FOUND : NO_ERROR;
        }));
    }

    HRESULT Item(const std::string& APath, std::shared_ptr<INetFwAuthorizedApplication>& AResult) override
    {
        AuthorizedPrograms Programs;
        if (const std::uint32_t Result = ProgramsFile.Load(Programs); Result != NO_ERROR)
            return HRESULT_FROM_WIN32(Result);
        if (Programs.Find(APath) == nullptr)
            return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        AResult = std::make_shared<StoredApplication>(APath);
        return S_OK;
    }
};

class Profile final : public INetFwProfile
{
public:
    HRESULT get_FirewallEnabled(VARIANT_BOOL& AEnabled) override
    {
        AEnabled = Zn::HostFirewallEnabled() ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    HRESULT get_AuthorizedApplications(std::shared_ptr<INetFwAuthorizedApplications>& AResult) override
    {
        AResult = std::make_shared<AuthorizedApplications>();
        return S_OK;
    }
};

class Policy final : public INetFwPolicy
{
public:
    HRESULT get_CurrentProfile(std::shared_ptr<INetFwProfile>& AResult) override
    {
        AResult = std::make_shared<Profile>();
        return S_OK;
    }
};

class Manager final : public INetFwMgr
{
public:
    HRESULT get_LocalPolicy(std::shared_ptr<INetFwPolicy>& AResult) override
    {
        AResult = std::make_shared<Policy>();
        return S_OK;
    }
};

HRESULT CoCreateInstance(const TGUID& AClass, std::uint32_t AContext, const TGUID& AInterface,
                         std::shared_ptr<IInterface>& AResult)
{
    std::shared_ptr<IInterface> Object;
    TGUID Own;
    if (AContext != CLSCTX_INPROC_SERVER)
        return HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER);
    if (AClass == IID_NetFwMgr) {
        Object = std::make_shared<Manager>();
        Own = INetFwMgr::IID;
    } else if (AClass == IID_NetFwAuthorizedApplication) {
        Object = std::make_shared<DraftApplication>();
        Own = INetFwAuthorizedApplication::IID;
    } else {
        return REGDB_E_CLASSNOTREG;
    }
    if (AInterface != Own && AInterface != IInterface::IID)
        return E_NOINTERFACE;
    AResult = std::move(Object);
    return S_OK;
}

} // namespace

std::span<const TZnExport> Ole32Exports()
{
    static const TZnExport Exports[] = {
        {"CoCreateInstance", reinterpret_cast<void*>(TCoCreateInstance(CoCreateInstance))},
    };
    return Exports;
}
