#include "uZnNamedPipes/PipeApi.h"

#include "common/Exceptions.h"
#include "platform/loader/Loader.h"

namespace
{

constexpr const char* cLibraryName = "Kernel32.dll";

struct LoadedApi : Zn::PipeApi
{
    LoadedApi() : Library(LoadLibrary(cLibraryName))
    {
        if (Library == 0)
            throw Exception("Failed to load the library Kernel32.dll!");
    }
    ~LoadedApi() { FreeLibrary(Library); }
    LoadedApi(const LoadedApi&) = delete;
    LoadedApi& operator=(const LoadedApi&) = delete;

    template <class TFunction>
    void FindOptional(TFunction& ASlot, const char* AName) const
    {
        ASlot = reinterpret_cast<TFunction>(GetProcAddress(Library, AName));
    }
    template <class TFunction>
    void Find(TFunction& ASlot, const char* AName) const
    {
        FindOptional(ASlot, AName);
        ZnAssert(ASlot != nullptr, ZnFormat("There is no function %s in %s.", AName, cLibraryName).c_str());
    }

    const THandle Library;
};

} // namespace

#define ZN_FIND(AName) Api->Find(Api->AName, #AName)

std::shared_ptr<const Zn::PipeApi> Zn::LoadPipeApi()
{
    auto Api = std::make_shared<LoadedApi>();
    ZN_FIND(CreateNamedPipeW);
    ZN_FIND(ConnectNamedPipe);
    ZN_FIND(DisconnectNamedPipe);
    ZN_FIND(WaitNamedPipeW);
    ZN_FIND(CreateFileW);
    ZN_FIND(SetNamedPipeHandleState);
    ZN_FIND(ReadFile);
    ZN_FIND(WriteFile);
    ZN_FIND(GetOverlappedResult);
    ZN_FIND(CancelIo);
    ZN_FIND(CloseHandle);
    ZN_FIND(InitializeSecurityDescriptor);
    ZN_FIND(SetSecurityDescriptorDacl);
    Api->FindOptional(Api->ZnWritePipeGather, "ZnWritePipeGather");
    Api->FindOptional(Api->ZnGetNamedPipePeer, "ZnGetNamedPipePeer");
    return Api;
}

#undef ZN_FIND
