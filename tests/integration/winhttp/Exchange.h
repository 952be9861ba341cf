#pragma once

// The function set as a client unit uses it, with handles that close themselves and texts in UTF-8.

#include <string>
#include <string_view>
#include <utility>

#include "platform/errors/Errors.h"
#include "platform/text/Unicode.h"
#include "platform/winhttp/Winhttp.h"

inline std::u16string Wide(std::string_view AText)
{
    return Zn::Utf16FromUtf8(AText);
}

class Handle
{
public:
    Handle(HINTERNET AHandle = nullptr) : FHandle(AHandle) {} // NOLINT: as in the functions themselves
    ~Handle() { Close(); }
    Handle(Handle&& AOther) noexcept : FHandle(std::exchange(AOther.FHandle, nullptr)) {}
    Handle& operator=(Handle&& AOther) noexcept
    {
        std::swap(FHandle, AOther.FHandle);
        return *this;
    }
    void Close()
    {
        if (FHandle != nullptr)
            WinHttpCloseHandle(std::exchange(FHandle, nullptr));
    }
    operator HINTERNET() const { return FHandle; } // NOLINT

private:
    HINTERNET FHandle;
};

/// A session with a connection to a port of the loopback.
struct Client
{
    explicit Client(std::uint16_t APort, const char* AProxy = nullptr, const char* AHost = "127.0.0.1")
        : Session(WinHttpOpen(u"Agent/1", AProxy != nullptr ? 3 : 1,
                              AProxy != nullptr ? Wide(AProxy).c_str() : nullptr, nullptr, 0)),
          Connection(WinHttpConnect(Session, Wide(AHost).c_str(), APort, 0))
    {
        Set(Session, WINHTTP_OPTION_RECEIVE_TIMEOUT, 60'000);
        Set(Session, WINHTTP_OPTION_SEND_TIMEOUT, 60'000);
    }
    Handle Open(std::string_view AVerb, std::string_view ATarget, std::uint32_t AFlags = 0,
                const char16_t* AVersion = nullptr) const
    {
        return {WinHttpOpenRequest(Connection, Wide(AVerb).c_str(), Wide(ATarget).c_str(), AVersion, nullptr,
                                   nullptr, AFlags)};
    }
    static bool Set(HINTERNET AHandle, std::uint32_t AOption, std::uint32_t AValue)
    {
        return WinHttpSetOption(AHandle, AOption, &AValue, sizeof AValue);
    }

    Handle Session;
    Handle Connection;
};

/// 0 or the number that ended it.
inline std::uint32_t Send(HINTERNET ARequest, std::string_view ABody = {})
{
    return WinHttpSendRequest(ARequest, nullptr, 0, ABody.empty() ? nullptr : ABody.data(), ABody.size(),
                              ABody.size(), 0) &&
                   WinHttpReceiveResponse(ARequest, nullptr)
               ? NO_ERROR
               : GetLastError();
}

/// Part of a head; "" with the last error where there is none.
inline std::string Query(HINTERNET ARequest, std::uint32_t ALevel, const char* AName = nullptr,
                         std::uint32_t AIndex = 0)
{
    const std::u16string Name = Wide(AName != nullptr ? AName : "");
    const char16_t* Given = AName != nullptr ? Name.c_str() : nullptr;
    std::uint32_t Size = 0;
    std::uint32_t Index = AIndex;
    SetLastError(0);
    WinHttpQueryHeaders(ARequest, ALevel, Given, nullptr, &Size, &Index);
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return {};
    std::u16string Text(Size / 2, u'\0');
    SetLastError(0);
    if (!WinHttpQueryHeaders(ARequest, ALevel, Given, Text.data(), &Size, &Index))
        return {};
    Text.resize(Size / 2);
    return Zn::Utf8FromUtf16(Text);
}

inline std::string Status(HINTERNET ARequest)
{
    return Query(ARequest, WINHTTP_QUERY_STATUS_CODE);
}

/// The rest of the body. AError: 0 or the number that ended it.
inline std::string ReadAll(HINTERNET ARequest, std::uint32_t& AError)
{
    std::string Body;
    AError = 0;
    for (std::uint32_t Available = 0;;) {
        if (!WinHttpQueryDataAvailable(ARequest, &Available)) {
            AError = GetLastError();
            return Body;
        }
        if (Available == 0)
            return Body;
        const std::size_t Before = Body.size();
        Body.resize(Before + Available);
        std::uint32_t Read = 0;
        if (!WinHttpReadData(ARequest, Body.data() + Before, Available, &Read))
            AError = GetLastError();
        Body.resize(Before + Read);
    }
}

inline std::string ReadAll(HINTERNET ARequest)
{
    std::uint32_t Error = 0;
    std::string Body = ReadAll(ARequest, Error);
    return Error == 0 ? Body : "error " + std::to_string(Error);
}

inline bool AddHeaders(HINTERNET ARequest, std::string_view ALines,
                       std::uint32_t AModifiers = WINHTTP_ADDREQ_FLAG_ADD)
{
    return WinHttpAddRequestHeaders(ARequest, Wide(ALines).c_str(), 0xFFFFFFFF, AModifiers);
}

inline bool SetLogin(HINTERNET ARequest, std::uint32_t AScheme, const char* AUser, const char* APassword,
                     std::uint32_t ATarget = WINHTTP_AUTH_TARGET_SERVER)
{
    return WinHttpSetCredentials(ARequest, ATarget, AScheme, Wide(AUser).c_str(), Wide(APassword).c_str(),
                                 nullptr);
}
