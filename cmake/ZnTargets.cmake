# Targets mirror folders. A layer may use what stands below it and nothing else:
#
#   tools, examples, tests -> source (units) -> common -> platform -> libraries
#
# zn_unit() refuses an arrow that points up; the test `layers`
# (cmake/CheckLayers.cmake) checks the includes themselves.

# zn_library(NAME SOURCES ... USES ...): a static library Zn::NAME.
function(zn_library NAME)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
    add_library(${NAME} STATIC ${ARG_SOURCES})
    add_library(Zn::${NAME} ALIAS ${NAME})
    target_include_directories(${NAME} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(${NAME} PUBLIC ${ARG_USES} PRIVATE zn_compile_options ${ARG_PRIVATE_USES})
    target_precompile_headers(${NAME} REUSE_FROM zn_pch)
endfunction()

# zn_unit(NAME SOURCES ... USES ...): one unit of the component library. NAME.h is its face, the
# folder NAME/ holds its files and the CMakeLists.txt that calls this; SOURCES are relative to that folder.
function(zn_unit NAME)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
    foreach(USED IN LISTS ARG_USES ARG_PRIVATE_USES)
        if(NOT USED MATCHES "^Zn::(uZn[A-Za-z]+|common|platform)$")
            message(FATAL_ERROR "zn_unit(${NAME}): a unit uses units, Zn::common and Zn::platform, not ${USED}")
        endif()
        if(NOT TARGET ${USED})
            message(FATAL_ERROR "zn_unit(${NAME}): ${USED} is not defined yet; arrows point down only")
        endif()
    endforeach()
    set(FILES ../${NAME}.h)
    foreach(SOURCE IN LISTS ARG_SOURCES)
        list(APPEND FILES ${SOURCE})
    endforeach()
    zn_library(${NAME} SOURCES ${FILES} USES ${ARG_USES} PRIVATE_USES ${ARG_PRIVATE_USES})
    target_include_directories(${NAME} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/..)
    set_property(GLOBAL APPEND PROPERTY ZN_UNITS Zn::${NAME})
endfunction()

# zn_program(NAME SOURCES ... USES ...): a program in build/<preset>/bin.
function(zn_program NAME)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
    add_executable(${NAME} ${ARG_SOURCES})
    target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${NAME} PRIVATE ${ARG_USES} zn_compile_options)
    # CMake gives programs -fPIE; the precompiled headers were made for libraries and accept only their flag.
    target_compile_options(${NAME} PRIVATE -fPIC)
    target_precompile_headers(${NAME} REUSE_FROM zn_pch)
endfunction()

# zn_use_modules(NAME [FOLDER]): the program finds the shared objects that are loaded by name, in FOLDER first.
# DT_RPATH, as the newer DT_RUNPATH counts for the object alone that calls dlopen: a sanitizer's library does.
function(zn_use_modules NAME)
    add_dependencies(${NAME} wlanapi)
    set_property(TARGET ${NAME} APPEND PROPERTY BUILD_RPATH ${ARGN} ${CMAKE_BINARY_DIR}/lib)
    target_link_options(${NAME} PRIVATE LINKER:--disable-new-dtags)
endfunction()

# zn_test(NAME SOURCES ... USES ...): a GoogleTest program; one ctest entry for the program, whose own output tells each
# case. The limit is for cases that hang; a sanitizer on a busy machine is far from it.
function(zn_test NAME)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;LABELS" ${ARGN})
    zn_program(${NAME} SOURCES ${ARG_SOURCES} USES ${ARG_USES})
    target_link_libraries(${NAME} PRIVATE GTest::gtest GTest::gtest_main)
    set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${NAME} COMMAND ${NAME})
    set_tests_properties(${NAME} PROPERTIES TIMEOUT 600 LABELS "${ARG_LABELS}")
    # No test reads or changes the configuration of the machine it runs on.
    set_property(TEST ${NAME} APPEND PROPERTY ENVIRONMENT "ZN_STATE_DIR=${CMAKE_BINARY_DIR}/tests/state")
endfunction()
