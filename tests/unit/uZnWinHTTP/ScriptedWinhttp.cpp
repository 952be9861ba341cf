#include "ScriptedWinhttp.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/Text.h"
#include "platform/errors/Errors.h"

namespace
{

ScriptedWinhttp* Active = nullptr;

std::string Text(const char16_t* AText)
{
    return AText == nullptr ? "-" : Utf8FromUtf16(AText);
}

HINTERNET Open(const char16_t* AAgent, std::uint32_t AType, const char16_t* AProxy, const char16_t* ABypass,
               std::uint32_t AFlags)
{
    return Active->OpenHandle('S', "Open " + Text(AAgent) + " " + std::to_string(AType) + " " + Text(AProxy) +
                                       " " + Text(ABypass) + " " + std::to_string(AFlags));
}

bool CloseRequestHandle(HINTERNET AHandle)
{
    return Active->Close(AHandle);
}

HINTERNET Connect(HINTERNET ASession, const char16_t* AName, INTERNET_PORT APort, std::uint32_t)
{
    return Active->OpenHandle('C', "Connect " + Active->Name(ASession) + " " + Text(AName) + " " +
                                       std::to_string(APort));
}

HINTERNET OpenRequest(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObject,
                      const char16_t* AVersion, const char16_t* AReferrer, const char16_t* const* ATypes,
                      std::uint32_t AFlags)
{
    std::string Types;
    for (; *ATypes != nullptr; ++ATypes)
        Types += "[" + Text(*ATypes) + "]";
    return Active->OpenHandle('R', "OpenRequest " + Active->Name(AConnection) + " " + Text(AVerb) + " " +
                                       Text(AObject) + " " + Text(AVersion) + " " + Text(AReferrer) + " " +
                                       Types + " " + std::to_string(AFlags));
}

bool AddRequestHeaders(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t ALength,
                       std::uint32_t AFlags)
{
    std::string Lines;
    for (const char Char : Utf8FromUtf16({AHeaders, ALength}))
        Lines += Char == '\r' ? std::string("|") : Char == '\n' ? std::string() : std::string(1, Char);
    return Active->Note("AddRequestHeaders " + Active->Name(ARequest) + " " + Lines + " " +
                        ZnFormat("%08x", AFlags));
}

bool SetCredentials(HINTERNET ARequest, std::uint32_t ATarget, std::uint32_t AScheme, const char16_t* AUser,
                    const char16_t* APassword, void*)
{
    return Active->Note("SetCredentials " + Active->Name(ARequest) + " " + std::to_string(ATarget) + " " +
                        std::to_string(AScheme) + " " + Text(AUser) + " " + Text(APassword));
}

bool QueryAuthSchemes(HINTERNET, std::uint32_t* ASupported, std::uint32_t* AFirst, std::uint32_t* ATarget)
{
    return Active->Schemes(ASupported, AFirst, ATarget);
}

bool SendRequest(HINTERNET ARequest, const char16_t*, std::uint32_t, const void* ABody, std::uint64_t ALength,
                 std::uint64_t ATotal, std::uintptr_t)
{
    return Active->Send(ARequest, ABody, ALength, ATotal);
}

bool ReceiveResponse(HINTERNET ARequest, void*)
{
    return Active->Note("ReceiveResponse " + Active->Name(ARequest));
}

bool QueryHeaders(HINTERNET ARequest, std::uint32_t ALevel, const char16_t* AName, void* ABuffer,
                  std::uint32_t* ASize, std::uint32_t* AIndex)
{
    return Active->Query(ARequest, ALevel, AName, ABuffer, ASize, AIndex);
}

bool QueryDataAvailable(HINTERNET ARequest, std::uint32_t* ACount)
{
    return Active->Available(ARequest, ACount);
}

bool ReadData(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead)
{
    return Active->Read(ARequest, ABuffer, ASize, ARead);
}

bool QueryOption(HINTERNET, std::uint32_t, void*, std::uint32_t*)
{
    return false;
}

bool SetHandleOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize)
{
    return Active->SetOption(AHandle, AOption, ABuffer, ASize);
}

template <class TFunction>
TZnExport Export(const char* AName, TFunction AFunction)
{
    return {AName, reinterpret_cast<void*>(AFunction)};
}

bool Fail(std::uint32_t ACode)
{
    SetLastError(ACode);
    return false;
}

} // namespace

ScriptedWinhttp::ScriptedWinhttp()
{
    Active = this;
    ZnUnloadWinHTTP();
    FLibrary = std::make_unique<TZnScopedLibrary>(
        "Winhttp.dll",
        std::vector<TZnExport>{
            Export("WinHttpOpen", &Open), Export("WinHttpCloseHandle", &CloseRequestHandle),
            Export("WinHttpConnect", &Connect), Export("WinHttpOpenRequest", &OpenRequest),
            Export("WinHttpAddRequestHeaders", &AddRequestHeaders),
            Export("WinHttpSetCredentials", &SetCredentials),
            Export("WinHttpQueryAuthSchemes", &QueryAuthSchemes), Export("WinHttpSendRequest", &SendRequest),
            Export("WinHttpReceiveResponse", &ReceiveResponse), Export("WinHttpQueryHeaders", &QueryHeaders),
            Export("WinHttpQueryDataAvailable", &QueryDataAvailable), Export("WinHttpReadData", &ReadData),
            Export("WinHttpQueryOption", &QueryOption), Export("WinHttpSetOption", &SetHandleOption)});
}

ScriptedWinhttp::~ScriptedWinhttp()
{
    FLibrary.reset();
    ZnUnloadWinHTTP();
    Active = nullptr;
}

std::vector<std::string> ScriptedWinhttp::TakeCalls()
{
    return std::exchange(FCalls, {});
}

/// False when this is the call that fails.
bool ScriptedWinhttp::Note(const std::string& ACall)
{
    FCalls.push_back(ACall);
    return FCount++ != FailCall || Fail(FailCode);
}

HINTERNET ScriptedWinhttp::OpenHandle(char AKind, const std::string& ACall)
{
    if (!Note(ACall))
        return nullptr;
    auto* const Handle = reinterpret_cast<HINTERNET>(FNextHandle);
    FNextHandle += 4;
    FNames[Handle] = AKind + std::to_string(++FHandleCounts[AKind]);
    FOpen.insert(Handle);
    return Handle;
}

std::string ScriptedWinhttp::Name(HINTERNET AHandle) const
{
    const auto Found = FNames.find(AHandle);
    return Found == FNames.end() ? "?" : Found->second;
}

bool ScriptedWinhttp::Close(HINTERNET AHandle)
{
    FCalls.push_back("CloseHandle " + Name(AHandle)); // never fails: nothing could be done about it
    return FOpen.erase(AHandle) == 1 || Fail(ERROR_INVALID_HANDLE);
}

bool ScriptedWinhttp::Refused(HINTERNET AHandle) const
{
    return !FOpen.contains(AHandle);
}

bool ScriptedWinhttp::Send(HINTERNET ARequest, const void* ABody, std::uint64_t ALength, std::uint64_t ATotal)
{
    ++FSends;
    if (!Note("SendRequest " + Name(ARequest) + " " + std::to_string(ALength) + "/" + std::to_string(ATotal)))
        return false;
    if (Refused(ARequest))
        return Fail(ERROR_INVALID_HANDLE);
    FLastBody.assign(static_cast<const char*>(ABody), ALength);
    if (FSource.Read != nullptr) {
        std::array<char, 100000> Piece;
        if (FSends > 1 && !FSource.Rewind(FSource.Context))
            return Fail(12032);
        std::int64_t Count = 0;
        while ((Count = FSource.Read(FSource.Context, Piece.data(), Piece.size())) > 0)
            FLastBody.append(Piece.data(), static_cast<std::size_t>(Count));
        if (Count < 0)
            return Fail(30);
    }
    if (DuringSend)
        DuringSend();
    FCurrent = {};
    if (!Responses.empty()) {
        FCurrent = Responses.front();
        Responses.pop_front();
    }
    return FCurrent.Error == 0 || Fail(FCurrent.Error);
}

bool ScriptedWinhttp::Schemes(std::uint32_t* ASupported, std::uint32_t* AFirst, std::uint32_t* ATarget)
{
    if (!Note("QueryAuthSchemes"))
        return false;
    *ASupported = FCurrent.Supported;
    *AFirst = FCurrent.First;
    *ATarget = FCurrent.Status == 407 ? 1 : 0;
    return FCurrent.First != 0 || Fail(4317);
}

std::vector<std::string> ScriptedWinhttp::Values(std::uint32_t ALevel, const std::string& AName) const
{
    const std::string StatusLine = FCurrent.Version + " " + std::to_string(FCurrent.Status) + " Fine\r\n";
    switch (ALevel) {
    case 18:
        return {FCurrent.Version};
    case 19:
        return {std::to_string(FCurrent.Status)};
    case 20:
        return {"Fine"};
    case 22:
        return {StatusLine + FCurrent.Fields + "\r\n"};
    case 2147483670:
        return {"GET / HTTP/1.1\r\nHost: h\r\n\r\n"};
    default:
        break;
    }
    std::vector<std::string> Result;
    TZnHTTPHeaderList Fields;
    Fields.SetText(FCurrent.Fields);
    for (int Index = 0; Index < Fields.Count(); ++Index) {
        if (SameText(Fields.NameView(Index), AName))
            Result.push_back(Fields.GetValue(Index));
    }
    return Result;
}

bool ScriptedWinhttp::Query(HINTERNET ARequest, std::uint32_t ALevel, const char16_t* AName, void* ABuffer,
                            std::uint32_t* ASize, std::uint32_t* AIndex)
{
    if (!Note("QueryHeaders " + Name(ARequest) + " " + std::to_string(ALevel) +
              (AName == nullptr ? "" : " " + Text(AName)) +
              (*AIndex == 0 ? "" : " #" + std::to_string(*AIndex))))
        return false;
    if (Refused(ARequest))
        return Fail(ERROR_INVALID_HANDLE);
    const bool Number = ALevel == 536870917;
    const auto Found = Values(ALevel, Number ? "Content-Length" : AName == nullptr ? "" : Text(AName));
    if (*AIndex >= Found.size())
        return Fail(12150);
    if (Number) {
        const auto Value = static_cast<std::uint32_t>(std::stoul(Found[*AIndex]));
        std::memcpy(ABuffer, &Value, sizeof(Value));
        return true;
    }
    const std::u16string Value = Utf16FromUtf8(Found[*AIndex]);
    const auto Size = static_cast<std::uint32_t>(Value.size() * 2);
    if (*ASize < Size + 2) {
        *ASize = Size + 2;
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::memcpy(ABuffer, Value.c_str(), Size + 2);
    *ASize = Size;
    ++*AIndex;
    return true;
}

bool ScriptedWinhttp::Available(HINTERNET ARequest, std::uint32_t* ACount)
{
    if (DuringRead)
        DuringRead();
    if (!Note("QueryDataAvailable " + Name(ARequest)))
        return false;
    if (Refused(ARequest))
        return Fail(ERROR_INVALID_HANDLE);
    *ACount = FCurrent.Body.empty() ? 0 : static_cast<std::uint32_t>(FCurrent.Body.front().size());
    return true;
}

bool ScriptedWinhttp::Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead)
{
    if (!Note("ReadData " + Name(ARequest) + " " + std::to_string(ASize)))
        return false;
    std::string& Piece = FCurrent.Body.front();
    *ARead = std::min(ASize, static_cast<std::uint32_t>(Piece.size()));
    std::memcpy(ABuffer, Piece.data(), *ARead);
    Piece.erase(0, *ARead);
    if (Piece.empty())
        FCurrent.Body.erase(FCurrent.Body.begin());
    return true;
}

bool ScriptedWinhttp::SetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer,
                                std::uint32_t ASize)
{
    std::string Value;
    if (AOption == ZN_OPTION_BODY_SOURCE) {
        std::memcpy(&FSource, ABuffer, ASize);
        Value = "source of " + std::to_string(FSource.TotalLength);
    } else if (AOption == 47) {
        Value.assign(static_cast<const char*>(ABuffer), ASize);
    } else {
        std::uint32_t Number = 0;
        std::memcpy(&Number, ABuffer, std::min<std::size_t>(ASize, sizeof(Number)));
        Value = std::to_string(Number);
    }
    return Note("SetOption " + Name(AHandle) + " " + std::to_string(AOption) + " " + Value);
}
