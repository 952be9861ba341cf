#pragma once

#include <vector>

#include "platform/loader/Loader.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace Zn
{

/// Puts function tables in the place of the system's for a scope, and has the unit look them up anew.
class TScriptedLibraries
{
public:
    TScriptedLibraries(std::vector<TZnExport> AWs2_32, std::vector<TZnExport> ANtdll)
        : FWs2_32("ws2_32.dll", std::move(AWs2_32)), FNtdll("Ntdll.dll", std::move(ANtdll))
    {
        FinalizeWinsock();
    }
    ~TScriptedLibraries() { FinalizeWinsock(); }

private:
    TZnScopedLibrary FWs2_32;
    TZnScopedLibrary FNtdll;
};

template <typename T>
TZnExport Export(const char* AName, T AFunction)
{
    return {AName, reinterpret_cast<void*>(AFunction)};
}

} // namespace Zn
