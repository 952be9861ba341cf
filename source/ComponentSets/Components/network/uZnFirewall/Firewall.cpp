#include "uZnFirewall.h"

#include "platform/errors/Errors.h"
#include "platform/loader/Loader.h"

namespace
{

/// The maker of objects, as long as it is used.
class TOleLibrary
{
public:
    TOleLibrary() : FModule(LoadLibrary("Ole32.dll"))
    {
        if (FModule != 0)
            FCreateInstance =
                reinterpret_cast<TCoCreateInstance>(GetProcAddress(FModule, "CoCreateInstance"));
    }
    ~TOleLibrary()
    {
        if (FModule != 0)
            FreeLibrary(FModule);
    }
    TOleLibrary(const TOleLibrary&) = delete;
    TOleLibrary& operator=(const TOleLibrary&) = delete;

    template <class T>
    HRESULT Create(const TGUID& AClass, std::shared_ptr<T>& AResult) const
    {
        std::shared_ptr<IInterface> Object;
        if (FCreateInstance == nullptr)
            return REGDB_E_CLASSNOTREG;
        const HRESULT Result = FCreateInstance(AClass, CLSCTX_INPROC_SERVER, T::IID, Object);
        if (Result < 0)
            return Result;
        AResult = std::dynamic_pointer_cast<T>(Object);
        return AResult ? S_OK : E_NOINTERFACE;
    }

private:
    THandle FModule;
    TCoCreateInstance FCreateInstance = nullptr;
};

template <class T>
HRESULT CreateObject(const TGUID& AClass, std::shared_ptr<T>& AResult)
{
    return TOleLibrary().Create(AClass, AResult);
}

std::shared_ptr<INetFwProfile> CurrentProfile(INetFwMgr& AManager)
{
    std::shared_ptr<INetFwPolicy> Policy;
    std::shared_ptr<INetFwProfile> Profile;
    OleCheck(AManager.get_LocalPolicy(Policy));
    OleCheck(Policy->get_CurrentProfile(Profile));
    return Profile;
}

std::shared_ptr<INetFwAuthorizedApplications> ListOfPrograms()
{
    std::shared_ptr<INetFwAuthorizedApplications> List;
    OleCheck(CurrentProfile(*ZnWindowsFirewall())->get_AuthorizedApplications(List));
    return List;
}

std::string FileNameOf(const std::string& APath)
{
    return APath.substr(APath.rfind('/') + 1);
}

void AddProgram(INetFwAuthorizedApplications& AList, const std::string& APath)
{
    std::shared_ptr<INetFwAuthorizedApplication> Entry;
    OleCheck(CreateObject(IID_NetFwAuthorizedApplication, Entry));
    OleCheck(Entry->put_Name(FileNameOf(APath)));
    OleCheck(Entry->put_ProcessImageFileName(APath));
    OleCheck(Entry->put_Scope(NET_FW_SCOPE_LOCAL_SUBNET));
    OleCheck(Entry->put_Enabled(VARIANT_TRUE));
    OleCheck(Entry->put_IpVersion(NET_FW_IP_VERSION_ANY));
    OleCheck(AList.Add(Entry));
}

} // namespace

std::shared_ptr<INetFwMgr> ZnWindowsFirewall()
{
    std::shared_ptr<INetFwMgr> Manager;
    OleCheck(CreateObject(IID_NetFwMgr, Manager));
    return Manager;
}

bool ZnWindowsFirewallEnabled()
{
    std::shared_ptr<INetFwMgr> Manager;
    if (CreateObject(IID_NetFwMgr, Manager) < 0)
        return false;
    VARIANT_BOOL Enabled = VARIANT_FALSE;
    OleCheck(CurrentProfile(*Manager)->get_FirewallEnabled(Enabled));
    return Enabled != VARIANT_FALSE;
}

bool ZnWindowsFirewallAppIsEnabled(const std::string& APath)
{
    const auto List = ListOfPrograms();
    std::shared_ptr<INetFwAuthorizedApplication> Entry;
    VARIANT_BOOL Enabled = VARIANT_FALSE;
    return List->Item(APath, Entry) >= 0 && Entry->get_Enabled(Enabled) >= 0 && Enabled != VARIANT_FALSE;
}

bool ZnWindowsFirewallEnableApp(const std::string& APath)
{
    const auto List = ListOfPrograms();
    std::shared_ptr<INetFwAuthorizedApplication> Entry;
    if (List->Item(APath, Entry) < 0) {
        AddProgram(*List, APath); // a list that couldn't be read says so here
        return true;
    }
    VARIANT_BOOL Enabled = VARIANT_FALSE;
    OleCheck(Entry->get_Enabled(Enabled));
    if (Enabled == VARIANT_FALSE)
        OleCheck(Entry->put_Enabled(VARIANT_TRUE));
    return true;
}

void ZnWindowsFirewallRemoveApp(const std::string& APath)
{
    const auto List = ListOfPrograms();
    List->Remove(APath); // what isn't there needs no removing
}
