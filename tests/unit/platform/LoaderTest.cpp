#include "platform/loader/Loader.h"

#include <cmath>
#include <optional>

#include <gtest/gtest.h>

#include "platform/errors/Errors.h"

namespace
{

int One()
{
    return 1;
}
int Two()
{
    return 2;
}

TZnExport Export(const char* AName, int (*AFunction)())
{
    return {AName, reinterpret_cast<void*>(AFunction)};
}

/// What function Number of the library gives; 0 without it, -1 without the library.
int NumberFrom(const std::string& ALibrary)
{
    THandle Module = LoadLibrary(ALibrary);
    if (Module == 0)
        return -1;
    auto* Function = reinterpret_cast<int (*)()>(GetProcAddress(Module, "Number"));
    int Result = Function ? Function() : 0;
    FreeLibrary(Module);
    return Result;
}

} // namespace

TEST(Loader, ScriptedTableShadowsAndRestores)
{
    THandle BuiltIn = LoadLibrary("Httpapi.dll");
    ASSERT_NE(BuiltIn, 0U);
    EXPECT_NE(GetProcAddress(BuiltIn, "HttpInitialize"), nullptr);
    {
        TZnScopedLibrary Outer("HTTPAPI.DLL", {Export("Number", One)});
        EXPECT_EQ(NumberFrom("httpapi.dll"), 1);
        EXPECT_EQ(NumberFrom("Httpapi"), 1);
        {
            TZnScopedLibrary Inner("Httpapi.dll", {Export("Number", Two)});
            EXPECT_EQ(NumberFrom("Httpapi.dll"), 2);
        }
        EXPECT_EQ(NumberFrom("Httpapi.dll"), 1);
        EXPECT_NE(GetProcAddress(BuiltIn, "HttpInitialize"), nullptr) << "an open module keeps its table";
    }
    EXPECT_EQ(NumberFrom("Httpapi.dll"), 0);
    EXPECT_TRUE(FreeLibrary(BuiltIn));
}

TEST(Loader, ModuleOutlivesItsScript)
{
    std::optional<TZnScopedLibrary> Script(std::in_place, "Scripted.dll",
                                           std::vector<TZnExport>{Export("Number", One)});
    THandle Module = LoadLibrary("scripted.dll");
    Script.reset();
    EXPECT_EQ(NumberFrom("Scripted.dll"), -1);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(GetProcAddress(Module, "Number"), reinterpret_cast<void*>(One));
    EXPECT_EQ(GetProcAddress(Module, "number"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    EXPECT_TRUE(FreeLibrary(Module));
    EXPECT_FALSE(FreeLibrary(Module));
    EXPECT_EQ(GetProcAddress(Module, "Number"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST(Loader, SharedObjectsComeLast)
{
    THandle Module = LoadLibrary("libm.so.6");
    ASSERT_NE(Module, 0U);
    auto* Floor = reinterpret_cast<double (*)(double)>(GetProcAddress(Module, "floor"));
    ASSERT_NE(Floor, nullptr);
    EXPECT_EQ(Floor(2.5), 2.0);
    EXPECT_TRUE(FreeLibrary(Module));
    EXPECT_EQ(LoadLibrary(""), 0U);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}
