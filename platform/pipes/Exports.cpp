#include "platform/pipes/Exports.h"

#include "platform/pipes/Pipes.h"

namespace
{

template <class T>
void* Address(T* AFunction)
{
    return reinterpret_cast<void*>(AFunction);
}

} // namespace

std::span<const TZnExport> KernelPipeExports()
{
    static const TZnExport Table[] = {
        {"CreateNamedPipeW", Address(CreateNamedPipeW)},
        {"ConnectNamedPipe", Address(ConnectNamedPipe)},
        {"DisconnectNamedPipe", Address(DisconnectNamedPipe)},
        {"WaitNamedPipeW", Address(WaitNamedPipeW)},
        {"CreateFileW", Address(CreateFileW)},
        {"SetNamedPipeHandleState", Address(SetNamedPipeHandleState)},
        {"ReadFile", Address(ReadFile)},
        {"WriteFile", Address(WriteFile)},
        {"GetOverlappedResult", Address(GetOverlappedResult)},
        {"CancelIo", Address(CancelIo)},
        {"CloseHandle", Address(CloseHandle)},
        {"InitializeSecurityDescriptor", Address(InitializeSecurityDescriptor)},
        {"SetSecurityDescriptorDacl", Address(SetSecurityDescriptorDacl)},
        {"ZnWritePipeGather", Address(ZnWritePipeGather)},
        {"ZnGetNamedPipePeer", Address(ZnGetNamedPipePeer)},
    };
    return Table;
}

std::span<const TZnExport> NetworkLogonExports()
{
    static const TZnExport Table[] = {
        {"WNetAddConnection2W", Address(WNetAddConnection2W)},
        {"WNetCancelConnection2W", Address(WNetCancelConnection2W)},
    };
    return Table;
}
