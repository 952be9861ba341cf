#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/sync/Handle.h"

/// A function that a table publishes under a name.
struct TZnExport
{
    /// As it is looked up; case counts.
    const char* Name;
    /// The function.
    void* Address;
};

/// Opens the function table of the given name: one put there by TZnScopedLibrary first, one
/// built into the library second (BuiltinTables.cpp; without regard to case, ".dll" may be left
/// out), a shared object third: AName itself, then libname.so for a "Name.dll". 0 with
/// ERROR_MOD_NOT_FOUND when there is none. Each call gives a handle of its own; it keeps the table it
/// was opened on. Any thread.
THandle LoadLibrary(const std::string& AName);

/// The function's address (names are case-sensitive), nullptr with ERROR_PROC_NOT_FOUND or
/// ERROR_INVALID_HANDLE. Valid until the handle is freed. Any thread.
void* GetProcAddress(THandle AModule, const char* AName);

/// False with ERROR_INVALID_HANDLE when AModule isn't open.
bool FreeLibrary(THandle AModule);

/// Puts a scripted function table in the place of a name for as long as it lives, and gives back
/// what stood there before. Modules that are already open keep their table.
///
/// Threads:   any; scripts of one name nest, the newest wins.
/// Ownership: the table is copied; names and functions have to outlive the modules opened on it.
class TZnScopedLibrary
{
public:
    /// Puts AExports in the place of the library AName, until its end. For tests, while nobody uses that
    /// library.
    TZnScopedLibrary(const std::string& AName, std::vector<TZnExport> AExports);
    ~TZnScopedLibrary();
    TZnScopedLibrary(const TZnScopedLibrary&) = delete;
    TZnScopedLibrary& operator=(const TZnScopedLibrary&) = delete;

private:
    std::shared_ptr<const std::vector<TZnExport>> FExports;
    std::string FKey;
};
