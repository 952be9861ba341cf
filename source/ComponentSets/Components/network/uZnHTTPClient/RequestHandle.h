#pragma once

#include <atomic>

#include "common/Component.h"
#include "common/Interfaces.h"
#include "platform/Api.h"

/// A platform's request handle, shared by the request, its response and the session that closes
/// what is still open.
class ZN_API IZnHTTPRequestHandle : public virtual IInterface
{
public:
    static constexpr TGUID IID{"221505A5-EAD6-4CDA-B550-02DBFD5AD0EE"};

    /// nullptr when it was closed; with ARaiseIfClosed EAbort, as for a cancelled operation.
    virtual void* GetHandle(bool ARaiseIfClosed) = 0;
    /// Closes it once. Another thread's call on the handle ends.
    virtual void CloseHandle() = 0;
};

/// Owns the handle. A transport derives a final class, whose CloseHandle closes what Release gives and
/// whose destructor calls CloseHandle. Any thread.
class ZN_API TZnHTTPRequestHandle : public TObject, public virtual IZnHTTPRequestHandle
{
public:
    /// Owns a handle of the transport's, which its subclass closes.
    explicit TZnHTTPRequestHandle(void* AHandle) : FHandle(AHandle) {}
    TZnHTTPRequestHandle(const TZnHTTPRequestHandle&) = delete;
    TZnHTTPRequestHandle& operator=(const TZnHTTPRequestHandle&) = delete;

    void* GetHandle(bool ARaiseIfClosed) override;
    /// Forgets the handle.
    void CloseHandle() override { Release(); }

protected:
    /// The handle, to one caller; nullptr to all others.
    void* Release() { return FHandle.exchange(nullptr); }

private:
    std::atomic<void*> FHandle;
};
