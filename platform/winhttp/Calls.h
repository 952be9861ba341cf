#pragma once

/// What the functions of Winhttp.h have in common: handles, texts, and how a number reaches the caller.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Guarded.h"
#include "platform/httpclient/Request.h"
#include "platform/winhttp/Winhttp.h"

namespace Zn::Winhttp
{

inline THandle NumberOf(HINTERNET AHandle)
{
    return reinterpret_cast<THandle>(AHandle);
}

/// The object behind a handle. Empty, with AError 6 (no handle) or 12018 (of another kind).
template <class T>
std::shared_ptr<T> ObjectOf(HINTERNET AHandle, std::uint32_t& AError)
{
    const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
    std::shared_ptr<T> Result = std::dynamic_pointer_cast<T>(Object);
    AError = Object == nullptr   ? ERROR_INVALID_HANDLE
             : Result == nullptr ? ERROR_WINHTTP_INCORRECT_HANDLE_TYPE
                                 : NO_ERROR;
    return Result;
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
    return Run([&] {
        std::uint32_t Error = NO_ERROR;
        const auto Request = ObjectOf<HttpClient::Request>(ARequest, Error);
        return Request ? AWork(*Request) : Error;
    });
}

/// UTF-8 of a text that may be nullptr. ALength -1: up to the zero.
std::string Narrow(const char16_t* AText, std::uint32_t ALength = 0xFFFFFFFF);
/// UTF-16 of bytes from the network: UTF-8 where they are that, else ISO 8859-1.
std::u16string Widen(std::string_view ABytes);

/// Writes a text and its zero, if there is room; see WinHttpQueryHeaders.
std::uint32_t PutText(std::u16string_view AText, void* ABuffer, std::uint32_t& ASize);
/// Writes a value of a fixed size.
std::uint32_t PutValue(const void* AValue, std::uint32_t AValueSize, void* ABuffer, std::uint32_t& ASize);

} // namespace Zn::Winhttp
