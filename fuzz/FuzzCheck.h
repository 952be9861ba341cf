#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength);

namespace Zn
{

/// Ends the program, which the fuzzer reports with its input.
inline void FuzzCheck(bool AHolds, const char* AWhat)
{
    if (AHolds)
        return;
    std::fprintf(stderr, "fuzz check failed: %s\n", AWhat);
    std::abort();
}

} // namespace Zn
