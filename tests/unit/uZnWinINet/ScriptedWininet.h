#pragma once

/// A scripted function set in the place of "Wininet.dll": notes every call with its arguments, answers sends
/// and questions with what a test lays out, and fails the call that it is told to.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/loader/Loader.h"
#include "uZnWinINet.h"

struct ScriptedAnswer
{
    std::uint32_t Error = 0; // of the send
    std::string Status = "200";
    std::map<std::string, std::string> Fields{}; // by name, small letters
    std::string Body{};
};

class ScriptedWininet
{
public:
    ScriptedWininet();
    ~ScriptedWininet();

    std::deque<ScriptedAnswer> Sends;        // what the sends get, in order; behind the last one an empty 200
    std::deque<std::uint32_t> DialogResults; // behind the last one 1223
    int FailCall = -1;                       // the index of the call that fails, with 12030
    std::string LastBody;

    /// The calls since the last look.
    std::vector<std::string> TakeCalls() { return std::exchange(FCalls, {}); }
    int CallCount() const { return FCount; }
    std::size_t OpenHandles() const { return FNames.size(); }

    // --- What the library calls
    bool Note(const std::string& ACall);
    HINTERNET OpenHandle(char AKind, const std::string& ACall);
    bool Close(HINTERNET AHandle);
    std::string Name(HINTERNET AHandle) const;
    bool Send(HINTERNET ARequest, const void* ABody, std::uint32_t ALength);
    bool Query(HINTERNET ARequest, std::uint32_t ALevel, void* ABuffer, std::uint32_t* ASize);
    bool Available(HINTERNET ARequest, std::uint32_t* ACount);
    bool Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead);
    bool SetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize);
    std::uint32_t Ask(HWND AParent, HINTERNET ARequest, std::uint32_t AError, std::uint32_t AFlags);

private:
    std::vector<std::string> FCalls;
    int FCount = 0;
    std::map<char, int> FHandleCounts;
    std::map<HINTERNET, std::string> FNames; // of open handles
    std::uintptr_t FNextHandle = 4;
    ScriptedAnswer FCurrent;
    std::unique_ptr<TZnScopedLibrary> FLibrary;
};
