#pragma once

/// What the functions of Winhttp.h and Wininet.h have in common: handles, texts, and how a number reaches the
/// caller.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Guarded.h"
#include "platform/httpclient/Request.h"
#include "platform/winhttp/Values.h"

namespace Zn::Winhttp
{

inline THandle NumberOf(HINTERNET AHandle)
{
    return reinterpret_cast<THandle>(AHandle);
}

/// The object behind a handle, if it is a T, which has to be final; else nullptr. AObject keeps it alive.
template <class T>
T* As(const std::shared_ptr<KernelObject>& AObject)
{
    static_assert(std::is_final_v<T>);
    KernelObject* Object = AObject.get();
    return Object != nullptr && typeid(*Object) == typeid(T) ? static_cast<T*>(Object) : nullptr;
}

/// 6 for a handle that is none, 12018 for one of another kind.
inline std::uint32_t ErrorOfHandle(const std::shared_ptr<KernelObject>& AObject)
{
    return AObject == nullptr ? ERROR_INVALID_HANDLE : ERROR_WINHTTP_INCORRECT_HANDLE_TYPE;
}

/// Runs AWork, which gives a number; true for 0, else false with the number as last error.
template <class Work>
bool Run(Work AWork) noexcept
{
    const std::uint32_t Error = Guarded(AWork);
    if (Error != NO_ERROR)
        SetLastError(Error);
    return Error == NO_ERROR;
}

/// The same with the request behind a handle.
template <class Work>
bool RunOn(HINTERNET ARequest, Work AWork) noexcept
{
    return Run([&]() -> std::uint32_t {
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(ARequest));
        auto* Request = As<HttpClient::Request>(Object);
        return Request != nullptr ? AWork(*Request) : ErrorOfHandle(Object);
    });
}

/// UTF-8 of a text that may be nullptr. ALength -1: up to the zero.
std::string Narrow(const char16_t* AText, std::uint32_t ALength = 0xFFFFFFFF);

/// Writes bytes from the network as UTF-16 with a zero behind it, if there is room; see WinHttpQueryHeaders.
/// They are read as UTF-8 where they are that, else as ISO 8859-1.
std::uint32_t PutText(std::string_view ABytes, void* ABuffer, std::uint32_t& ASize);
/// Writes a value of a fixed size.
std::uint32_t PutValue(const void* AValue, std::uint32_t AValueSize, void* ABuffer, std::uint32_t& ASize);

} // namespace Zn::Winhttp
