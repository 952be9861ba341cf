#include "uZnHTTPTransport/RequestBody.h"

#include <algorithm>
#include <span>

void Zn::RequestBody::Load(const FunctionBinding& ABinding, HINTERNET AHandle)
{
    FData = nullptr;
    FSize = 0;
    if (FStream == nullptr)
        return;
    const std::int64_t Start = FStream->GetPosition();
    const std::int64_t Size = std::max<std::int64_t>(FStream->GetSize() - Start, 0);
    if (Size == 0)
        return;
    auto* const Memory = dynamic_cast<TMemoryStream*>(FStream);
    if (Memory != nullptr && Size <= cMaxLent) {
        FData = Memory->Memory() + Start;
        FSize = static_cast<std::uint64_t>(Size);
        FStream->Seek(0, soEnd);
    } else if (Size <= cMaxBuffered) {
        Buffer(Size);
    } else {
        HandOver(ABinding, AHandle, Start, Size);
    }
}

void Zn::RequestBody::Buffer(std::int64_t ASize)
{
    FBodyBuf = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(ASize));
    FStream->ReadBuffer(FBodyBuf.get(), ASize);
    FData = FBodyBuf.get();
    FSize = static_cast<std::uint64_t>(ASize);
}

void Zn::RequestBody::HandOver(const FunctionBinding& ABinding, HINTERNET AHandle, std::int64_t AStart,
                               std::int64_t ASize)
{
    FStart = AStart;
    const TZnHttpBodySource Source{this, static_cast<std::uint64_t>(ASize), &ReadSource, &RewindSource};
    ABinding.SetOption(AHandle, ZN_OPTION_BODY_SOURCE, std::as_bytes(std::span(&Source, 1)));
}

/// Called by the library, which knows no exceptions.
std::int64_t Zn::RequestBody::ReadSource(void* AContext, void* ABuffer, std::size_t ASize)
{
    auto& Body = *static_cast<RequestBody*>(AContext);
    try {
        return Body.FStream->Read(ABuffer, static_cast<std::int64_t>(ASize));
    } catch (...) {
        Body.FReadError = std::current_exception();
        return -1;
    }
}

bool Zn::RequestBody::RewindSource(void* AContext)
{
    auto& Body = *static_cast<RequestBody*>(AContext);
    try {
        Body.FStream->SetPosition(Body.FStart);
        return true;
    } catch (...) {
        Body.FReadError = std::current_exception();
        return false;
    }
}

void Zn::RequestBody::RaiseReadError()
{
    if (FReadError)
        std::rethrow_exception(std::exchange(FReadError, nullptr));
}
