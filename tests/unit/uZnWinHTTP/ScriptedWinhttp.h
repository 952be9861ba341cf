#pragma once

/// A scripted function set in the place of "Winhttp.dll": notes every call with its arguments, answers sends
/// with the responses that a test lays out, and fails the calls that it is told to.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/loader/Loader.h"
#include "uZnWinHTTP.h"

struct ScriptedResponse
{
    std::uint32_t Error = 0; // of the send
    std::uint32_t Status = 200;
    std::string Fields{};            // "Name: value" lines with CR LF behind each
    std::vector<std::string> Body{}; // piece by piece
    std::uint32_t Supported = 0;
    std::uint32_t First = 0; // 0: no challenge
    std::string Version = "HTTP/1.1";
};

class ScriptedWinhttp
{
public:
    ScriptedWinhttp();
    ~ScriptedWinhttp();

    /// What the sends get, in order. Behind the last one an empty 200.
    std::deque<ScriptedResponse> Responses;
    /// Runs in each send, before it returns.
    std::function<void()> DuringSend;
    /// Runs ahead of each look for a piece of the body, as if another thread were quicker than the library.
    std::function<void()> DuringRead;
    int FailCall = -1; // the index of the call that fails, with FailCode
    std::uint32_t FailCode = 12030;

    /// The calls since the last look.
    std::vector<std::string> TakeCalls();
    int CallCount() const { return FCount; }
    std::size_t OpenHandles() const { return FOpen.size(); }
    int SendCount() const { return FSends; }
    const std::string& LastBody() const { return FLastBody; }

    // --- What the library calls
    bool Note(const std::string& ACall);
    HINTERNET OpenHandle(char AKind, const std::string& ACall);
    bool Close(HINTERNET AHandle);
    std::string Name(HINTERNET AHandle) const;
    bool Send(HINTERNET ARequest, const void* ABody, std::uint64_t ALength, std::uint64_t ATotal);
    bool Schemes(std::uint32_t* ASupported, std::uint32_t* AFirst, std::uint32_t* ATarget);
    bool Query(HINTERNET ARequest, std::uint32_t ALevel, const char16_t* AName, void* ABuffer,
               std::uint32_t* ASize, std::uint32_t* AIndex);
    bool Available(HINTERNET ARequest, std::uint32_t* ACount);
    bool Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead);
    bool SetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize);

private:
    bool Refused(HINTERNET AHandle) const;
    std::vector<std::string> Values(std::uint32_t ALevel, const std::string& AName) const;

    std::vector<std::string> FCalls;
    int FCount = 0;
    int FSends = 0;
    std::map<char, int> FHandleCounts;
    std::map<HINTERNET, std::string> FNames;
    std::set<HINTERNET> FOpen;
    std::uintptr_t FNextHandle = 4;
    ScriptedResponse FCurrent;
    std::string FLastBody;
    TZnHttpBodySource FSource{};
    std::unique_ptr<TZnScopedLibrary> FLibrary;
};
