#pragma once

#include <memory>

#include "platform/pipes/Pipes.h"

namespace Zn
{

/// One slot per function of the message pipes.
struct PipeApi
{
    decltype(&::CreateNamedPipeW) CreateNamedPipeW = nullptr;
    decltype(&::ConnectNamedPipe) ConnectNamedPipe = nullptr;
    decltype(&::DisconnectNamedPipe) DisconnectNamedPipe = nullptr;
    decltype(&::WaitNamedPipeW) WaitNamedPipeW = nullptr;
    decltype(&::CreateFileW) CreateFileW = nullptr;
    decltype(&::SetNamedPipeHandleState) SetNamedPipeHandleState = nullptr;
    decltype(&::ReadFile) ReadFile = nullptr;
    decltype(&::WriteFile) WriteFile = nullptr;
    decltype(&::GetOverlappedResult) GetOverlappedResult = nullptr;
    decltype(&::CancelIo) CancelIo = nullptr;
    decltype(&::CloseHandle) CloseHandle = nullptr;
    decltype(&::InitializeSecurityDescriptor) InitializeSecurityDescriptor = nullptr;
    decltype(&::SetSecurityDescriptorDacl) SetSecurityDescriptorDacl = nullptr;

    // Optional: without it a frame is joined before it is written.
    decltype(&::ZnWritePipeGather) ZnWritePipeGather = nullptr;
    // Optional: who is at the other end.
    decltype(&::ZnGetNamedPipePeer) ZnGetNamedPipePeer = nullptr;
};

/// Looks the functions up in "Kernel32.dll", which stays loaded as long as a slot table lives. Raises
/// EAssertionFailed for a missing function. Any thread.
std::shared_ptr<const PipeApi> LoadPipeApi();

} // namespace Zn
