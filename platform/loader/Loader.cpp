#include "platform/loader/Loader.h"

#include <cstring>
#include <map>

#include <dlfcn.h>

#include "platform/errors/Errors.h"
#include "platform/loader/BuiltinTables.h"
#include "platform/sync/Mutex.h"

namespace
{

/// "httpapi" for "Httpapi.dll", "HTTPAPI" and the like: what tables are compared by.
std::string TableKey(std::string_view AName)
{
    std::string Key(AName);
    for (char& Char : Key) {
        if (Char >= 'A' && Char <= 'Z')
            Char = static_cast<char>(Char + ('a' - 'A'));
    }
    if (Key.ends_with(".dll"))
        Key.resize(Key.size() - 4);
    return Key;
}

class Module : public KernelObject
{
public:
    virtual void* Find(const char* AName) const = 0;
};

class TableModule : public Module
{
public:
    explicit TableModule(std::span<const TZnExport> AExports) : FExports(AExports) {}
    explicit TableModule(std::shared_ptr<const std::vector<TZnExport>> AScript)
        : FExports(*AScript), FScript(std::move(AScript))
    {
    }

    void* Find(const char* AName) const override
    {
        for (const TZnExport& Export : FExports) {
            if (std::strcmp(Export.Name, AName) == 0)
                return Export.Address;
        }
        return nullptr;
    }

private:
    std::span<const TZnExport> FExports;
    std::shared_ptr<const std::vector<TZnExport>> FScript; // keeps FExports alive
};

class SharedObjectModule : public Module
{
public:
    explicit SharedObjectModule(void* AHandle) : FHandle(AHandle) {}
    ~SharedObjectModule() override { dlclose(FHandle); }
    SharedObjectModule(const SharedObjectModule&) = delete;
    SharedObjectModule& operator=(const SharedObjectModule&) = delete;

    void* Find(const char* AName) const override { return dlsym(FHandle, AName); }

private:
    void* FHandle;
};

/// The scripted tables of the process, the newest of a name last.
class ScriptedTables
{
public:
    using Script = std::shared_ptr<const std::vector<TZnExport>>;

    void Add(const std::string& AKey, Script AScript)
    {
        Zn::MutexLock Lock(FMutex);
        FScripts[AKey].push_back(std::move(AScript));
    }
    void Remove(const std::string& AKey, const Script& AScript)
    {
        Zn::MutexLock Lock(FMutex);
        auto Found = FScripts.find(AKey);
        std::erase(Found->second, AScript);
        if (Found->second.empty())
            FScripts.erase(Found);
    }
    Script Find(const std::string& AKey)
    {
        Zn::MutexLock Lock(FMutex);
        auto Found = FScripts.find(AKey);
        return Found == FScripts.end() ? nullptr : Found->second.back();
    }

private:
    Zn::Mutex FMutex;
    std::map<std::string, std::vector<Script>> FScripts ZN_GUARDED_BY(FMutex);
};

ScriptedTables& Scripts()
{
    static ScriptedTables Instance;
    return Instance;
}

/// The shared object of that name, or, for a "Name.dll", libname.so.
void* OpenSharedObject(const std::string& AName, const std::string& AKey)
{
    if (AName.empty()) // would open the program itself
        return nullptr;
    constexpr int Flags = RTLD_NOW | RTLD_LOCAL;
    void* const Handle = dlopen(AName.c_str(), Flags);
    const bool IsServiceName = AKey.size() + 4 == AName.size() && AName.find('/') == std::string::npos;
    return Handle != nullptr || !IsServiceName ? Handle : dlopen(("lib" + AKey + ".so").c_str(), Flags);
}

std::shared_ptr<Module> OpenModule(const std::string& AName)
{
    const std::string Key = TableKey(AName);
    if (auto Script = Scripts().Find(Key))
        return std::make_shared<TableModule>(std::move(Script));
    for (const Zn::BuiltinTable& Table : Zn::BuiltinTables()) {
        if (TableKey(Table.Name) == Key)
            return std::make_shared<TableModule>(Table.Exports());
    }
    if (void* Handle = OpenSharedObject(AName, Key))
        return std::make_shared<SharedObjectModule>(Handle);
    return nullptr;
}

} // namespace

THandle LoadLibrary(const std::string& AName)
{
    if (auto Module = OpenModule(AName))
        return RegisterHandle(std::move(Module));
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
}

void* GetProcAddress(THandle AModule, const char* AName)
{
    auto Found = LookupHandleAs<Module>(AModule);
    if (!Found)
        return nullptr;
    void* Address = Found->Find(AName);
    if (!Address)
        SetLastError(ERROR_PROC_NOT_FOUND);
    return Address;
}

bool FreeLibrary(THandle AModule)
{
    return LookupHandleAs<Module>(AModule) && CloseHandle(AModule);
}

TZnScopedLibrary::TZnScopedLibrary(const std::string& AName, std::vector<TZnExport> AExports)
    : FExports(std::make_shared<const std::vector<TZnExport>>(std::move(AExports))), FKey(TableKey(AName))
{
    Scripts().Add(FKey, FExports);
}

TZnScopedLibrary::~TZnScopedLibrary()
{
    Scripts().Remove(FKey, FExports);
}
