# What every target is compiled with: the standard, warnings as errors, sanitizers, ccache and
# one set of precompiled standard headers.

option(ZN_BENCHMARKS "Build the benchmark programs and their peers" OFF)
option(ZN_PACKAGES "Add what Debian packages need to what is installed" OFF)
option(ZN_FUZZ "Build the libFuzzer targets (Clang)" OFF)
set(ZN_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1")
set(CMAKE_CXX_FLAGS_SANITIZE "-O1 -g1 -fno-omit-frame-pointer")

find_program(ZN_CCACHE ccache)
if(ZN_CCACHE)
    # Paths are made relative and the build folder is left out of the hash, so that a clean clone
    # in a new folder finds what another one compiled.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${ZN_CCACHE})
endif()

add_library(zn_compile_options INTERFACE)
target_compile_options(zn_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-qual -Wnull-dereference -Wvla -fstack-protector-strong)
target_compile_definitions(zn_compile_options INTERFACE _FILE_OFFSET_BITS=64)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(zn_compile_options INTERFACE -Wthread-safety -Wthread-safety-beta)
else()
    # GCC 12 loses track of optional and string storage under -O2 and the sanitizers.
    target_compile_options(zn_compile_options INTERFACE
        -Wno-maybe-uninitialized -Wno-null-dereference -Wno-restrict -Wno-stringop-overflow
        -Wno-stringop-overread -Wno-array-bounds
        # Nobody replaces an exported function by one of the same name, so it may be inlined like any other.
        -fno-semantic-interposition)
    if(CMAKE_CXX_COMPILER_LAUNCHER)
        target_compile_options(zn_compile_options INTERFACE -fpch-preprocess)
    endif()
endif()

if(ZN_SANITIZE)
    target_compile_options(zn_compile_options INTERFACE -fsanitize=${ZN_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(zn_compile_options INTERFACE -fsanitize=${ZN_SANITIZE})
    if(ZN_SANITIZE MATCHES "thread")
        # GCC warns that TSan ignores fences; the code uses none.
        target_compile_options(zn_compile_options INTERFACE -Wno-tsan)
    endif()
endif()

# The standard headers nearly every file reads. Compiled once; targets reuse it.
add_library(zn_pch OBJECT ${CMAKE_SOURCE_DIR}/cmake/Pch.cpp)
target_link_libraries(zn_pch PRIVATE zn_compile_options)
target_precompile_headers(zn_pch PRIVATE
    <algorithm> <array> <atomic> <chrono> <cstddef> <cstdint> <cstring> <functional> <map> <memory>
    <mutex> <optional> <shared_mutex> <span> <string> <string_view> <unordered_map> <utility> <vector>)
