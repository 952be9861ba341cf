#include "ScriptedWininet.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "common/Text.h"
#include "platform/errors/Errors.h"

namespace
{

ScriptedWininet* Active = nullptr;

std::string Text(const char16_t* AText)
{
    return AText == nullptr ? "-" : Utf8FromUtf16(AText);
}

/// The parts with blanks between them; an empty one is left out.
template <class... TParts>
std::string Line(const char* ACall, const TParts&... AParts)
{
    std::ostringstream Text;
    Text << ACall;
    const auto Add = [&](const std::string& APart) { Text << (APart.empty() ? "" : " ") << APart; };
    const auto AsText = [](const auto& APart) {
        if constexpr (std::is_integral_v<std::decay_t<decltype(APart)>>)
            return std::to_string(APart);
        else
            return std::string(APart);
    };
    (Add(AsText(AParts)), ...);
    return Text.str();
}

bool Fail(std::uint32_t ACode)
{
    SetLastError(ACode);
    return false;
}

HINTERNET Open(const char16_t* AAgent, std::uint32_t AType, const char16_t* AProxy, const char16_t* ABypass,
               std::uint32_t AFlags)
{
    return Active->OpenHandle('S', Line("Open", Text(AAgent), AType, Text(AProxy), Text(ABypass), AFlags));
}

HINTERNET Connect(HINTERNET ASession, const char16_t* AName, INTERNET_PORT APort, const char16_t* AUser,
                  const char16_t* APassword, std::uint32_t AService, std::uint32_t AFlags, std::uintptr_t)
{
    return Active->OpenHandle('C', Line("Connect", Active->Name(ASession), Text(AName), APort, Text(AUser),
                                        Text(APassword), AService, AFlags));
}

HINTERNET OpenRequest(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObject,
                      const char16_t* AVersion, const char16_t* AReferrer, const char16_t* const* ATypes,
                      std::uint32_t AFlags, std::uintptr_t)
{
    std::string Types;
    for (; *ATypes != nullptr; ++ATypes)
        Types += "[" + Text(*ATypes) + "]";
    return Active->OpenHandle('R', Line("OpenRequest", Active->Name(AConnection), Text(AVerb), Text(AObject),
                                        Text(AVersion), Text(AReferrer), Types, ZnFormat("%x", AFlags)));
}

bool AddHeaders(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t ALength, std::uint32_t AFlags)
{
    std::string Lines;
    for (const char Char : Utf8FromUtf16({AHeaders, ALength}))
        Lines += Char == '\r' ? std::string("|") : Char == '\n' ? std::string() : std::string(1, Char);
    return Active->Note(Line("AddHeaders", Active->Name(ARequest), Lines, ZnFormat("%08x", AFlags)));
}

bool CloseAny(HINTERNET AHandle)
{
    return Active->Close(AHandle);
}

bool SendRequest(HINTERNET ARequest, const char16_t*, std::uint32_t, const void* ABody, std::uint32_t ALength)
{
    return Active->Send(ARequest, ABody, ALength);
}

bool QueryInfo(HINTERNET ARequest, std::uint32_t ALevel, void* ABuffer, std::uint32_t* ASize, std::uint32_t*)
{
    return Active->Query(ARequest, ALevel, ABuffer, ASize);
}

bool QueryAvailable(HINTERNET ARequest, std::uint32_t* ACount, std::uint32_t, std::uintptr_t)
{
    return Active->Available(ARequest, ACount);
}

bool ReadFile(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead)
{
    return Active->Read(ARequest, ABuffer, ASize, ARead);
}

bool SetAnyOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize)
{
    return Active->SetOption(AHandle, AOption, ABuffer, ASize);
}

std::uint32_t ErrorDialog(HWND AParent, HINTERNET ARequest, std::uint32_t AError, std::uint32_t AFlags,
                          void**)
{
    return Active->Ask(AParent, ARequest, AError, AFlags);
}

template <class TFunction>
TZnExport Export(const char* AName, TFunction AFunction)
{
    return {AName, reinterpret_cast<void*>(AFunction)};
}

} // namespace

ScriptedWininet::ScriptedWininet()
{
    Active = this;
    ZnUnloadWinINet();
    FLibrary = std::make_unique<TZnScopedLibrary>(
        "Wininet.dll",
        std::vector<TZnExport>{
            Export("InternetOpenW", &Open), Export("InternetConnectW", &Connect),
            Export("InternetCloseHandle", &CloseAny), Export("HttpOpenRequestW", &OpenRequest),
            Export("HttpAddRequestHeadersW", &AddHeaders), Export("HttpSendRequestW", &SendRequest),
            Export("HttpQueryInfoW", &QueryInfo), Export("InternetQueryDataAvailable", &QueryAvailable),
            Export("InternetReadFile", &ReadFile), Export("InternetSetOptionW", &SetAnyOption),
            Export("InternetErrorDlg", &ErrorDialog)});
}

ScriptedWininet::~ScriptedWininet()
{
    FLibrary.reset();
    ZnUnloadWinINet();
    Active = nullptr;
}

/// False when this is the call that fails.
bool ScriptedWininet::Note(const std::string& ACall)
{
    FCalls.push_back(ACall);
    return FCount++ != FailCall || Fail(12030);
}

HINTERNET ScriptedWininet::OpenHandle(char AKind, const std::string& ACall)
{
    if (!Note(ACall))
        return nullptr;
    auto* const Handle = reinterpret_cast<HINTERNET>(FNextHandle);
    FNextHandle += 4;
    FNames[Handle] = AKind + std::to_string(++FHandleCounts[AKind]);
    return Handle;
}

std::string ScriptedWininet::Name(HINTERNET AHandle) const
{
    const auto Found = FNames.find(AHandle);
    return Found != FNames.end() ? Found->second : AHandle == nullptr ? "process" : "?";
}

bool ScriptedWininet::Close(HINTERNET AHandle)
{
    FCalls.push_back("Close " + Name(AHandle)); // never fails: nothing could be done about it
    return FNames.erase(AHandle) == 1 || Fail(ERROR_INVALID_HANDLE);
}

bool ScriptedWininet::Send(HINTERNET ARequest, const void* ABody, std::uint32_t ALength)
{
    if (!Note(Line("Send", Name(ARequest), ALength)))
        return false;
    LastBody.assign(static_cast<const char*>(ABody), ALength);
    FCurrent = {};
    if (!Sends.empty()) {
        FCurrent = Sends.front();
        Sends.pop_front();
    }
    return FCurrent.Error == 0 || Fail(FCurrent.Error);
}

bool ScriptedWininet::Query(HINTERNET ARequest, std::uint32_t ALevel, void* ABuffer, std::uint32_t* ASize)
{
    const std::string Field = ALevel == 65535 ? LowerCase(Text(static_cast<const char16_t*>(ABuffer))) : "";
    if (!Note(Line("Query", Name(ARequest), ALevel, Field)))
        return false;
    std::string Value = ALevel == 19 ? FCurrent.Status : "Fine";
    if (ALevel == 22) {
        Value = "HTTP/1.1 " + FCurrent.Status + " Fine\r\n";
        for (const auto& [Each, Content] : FCurrent.Fields)
            Value += Each + ": " + Content + "\r\n";
    } else if (ALevel != 19 && ALevel != 20) {
        const auto Found = FCurrent.Fields.find(Field);
        if (Found == FCurrent.Fields.end())
            return Fail(12150);
        Value = Found->second;
    }
    const std::u16string Wide = Utf16FromUtf8(Value);
    const auto Size = static_cast<std::uint32_t>(Wide.size() * 2);
    const bool Fits = *ASize >= Size + 2;
    *ASize = Fits ? Size : Size + 2;
    if (!Fits)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(ABuffer, Wide.c_str(), Size + 2);
    return true;
}

bool ScriptedWininet::Available(HINTERNET ARequest, std::uint32_t* ACount)
{
    *ACount = static_cast<std::uint32_t>(FCurrent.Body.size());
    return Note("Available " + Name(ARequest));
}

bool ScriptedWininet::Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead)
{
    *ARead = static_cast<std::uint32_t>(FCurrent.Body.copy(static_cast<char*>(ABuffer), ASize));
    FCurrent.Body.erase(0, *ARead);
    return Note(Line("Read", Name(ARequest), ASize));
}

bool ScriptedWininet::SetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer,
                                std::uint32_t ASize)
{
    std::string Value;
    if (AOption == 43 || AOption == 44) {
        Value = Utf8FromUtf16({static_cast<const char16_t*>(ABuffer), ASize});
    } else if (AOption == 84) {
        Value.assign(static_cast<const char*>(ABuffer), ASize);
    } else {
        std::uint32_t Number = 0;
        std::memcpy(&Number, ABuffer, std::min<std::size_t>(ASize, sizeof(Number)));
        Value = std::to_string(Number);
    }
    return Note(Line("SetOption", Name(AHandle), AOption, Value));
}

std::uint32_t ScriptedWininet::Ask(HWND AParent, HINTERNET ARequest, std::uint32_t AError,
                                   std::uint32_t AFlags)
{
    Note(Line("Dialog", reinterpret_cast<std::uintptr_t>(AParent), Name(ARequest), AError, AFlags));
    if (DialogResults.empty())
        return ERROR_CANCELLED;
    const std::uint32_t Result = DialogResults.front();
    DialogResults.pop_front();
    return Result;
}
