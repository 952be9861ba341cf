# The one library that is installed, in two forms made of the same objects: libzn-network.so.1 exports what carries ZN_API
# (platform/Api.h) and nothing else; libzn-network.a holds everything. With them go the headers, what CMake and
# pkg-config need to find them, and the program.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZN_SOVERSION 1)
set(ZN_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/zn-network)
set(ZN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZnNetwork)
# What is loaded by name. Numbered, so that two versions of the library can be installed at once.
set(ZN_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/zn-network-${ZN_SOVERSION})
# What an application links beside the static library; the shared one brings them along.
set(ZN_STATIC_LIBRARIES ssl crypto curl z ssh spdlog fmt systemd)

get_property(UNITS GLOBAL PROPERTY ZN_UNITS)
list(PREPEND UNITS platform common)
set(OBJECTS "")
set(LIBRARIES "")
set(REGISTRATIONS "")
set(FACES "")
foreach(UNIT IN LISTS UNITS)
    string(REPLACE "Zn::" "" UNIT ${UNIT})
    list(APPEND OBJECTS $<TARGET_OBJECTS:${UNIT}>)
    get_target_property(USED ${UNIT} LINK_LIBRARIES)
    list(APPEND LIBRARIES ${USED})
    # Asked for by a unit whose static objects register themselves: what uses the static library asks for them, too.
    get_target_property(OPTIONS ${UNIT} INTERFACE_LINK_OPTIONS)
    if(OPTIONS)
        list(APPEND REGISTRATIONS ${OPTIONS})
    endif()
    if(UNIT MATCHES "^uZn")
        list(APPEND FACES ${UNIT}.h)
    endif()
endforeach()
list(FILTER LIBRARIES EXCLUDE REGEX "^(Zn::|zn_)")
list(REMOVE_DUPLICATES LIBRARIES)

add_library(zn_network SHARED ${OBJECTS})
add_library(zn_network_static STATIC ${OBJECTS})
set(EXPORT_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/zn-network.map)
set_target_properties(zn_network PROPERTIES
    EXPORT_NAME Network OUTPUT_NAME zn-network SOVERSION ${ZN_SOVERSION} LINKER_LANGUAGE CXX
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib LINK_DEPENDS ${EXPORT_SCRIPT}
    INSTALL_RPATH $ORIGIN/zn-network-${ZN_SOVERSION})
set_target_properties(zn_network_static PROPERTIES
    EXPORT_NAME NetworkStatic OUTPUT_NAME zn-network LINKER_LANGUAGE CXX
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
target_link_libraries(zn_network PRIVATE ${LIBRARIES})
target_link_options(zn_network PRIVATE
    LINKER:--version-script=${EXPORT_SCRIPT} LINKER:--no-undefined LINKER:--as-needed)
target_link_libraries(zn_network_static INTERFACE ${ZN_STATIC_LIBRARIES})
target_link_options(zn_network_static INTERFACE
    ${REGISTRATIONS} $<INSTALL_INTERFACE:LINKER:-rpath,$<INSTALL_PREFIX>/${ZN_MODULE_DIR}>)
foreach(LIBRARY IN ITEMS zn_network zn_network_static)
    target_compile_features(${LIBRARY} INTERFACE cxx_std_20)
    target_include_directories(${LIBRARY} INTERFACE $<INSTALL_INTERFACE:${ZN_INCLUDE_DIR}>)
endforeach()

install(TARGETS zn_network EXPORT ZnNetwork
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS zn_network_static EXPORT ZnNetwork
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS wlanapi LIBRARY DESTINATION ${ZN_MODULE_DIR} COMPONENT runtime)
install(TARGETS zn RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
file(RELATIVE_PATH MODULES_FROM_BIN /${CMAKE_INSTALL_BINDIR} /${ZN_MODULE_DIR})
set_target_properties(zn PROPERTIES INSTALL_RPATH $ORIGIN/${MODULES_FROM_BIN})
install(FILES ${CMAKE_BINARY_DIR}/manual/zn.1$<$<BOOL:${ZN_PACKAGES}>:.gz> DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT program)
install(FILES ${CMAKE_BINARY_DIR}/manual/zn.bash RENAME zn COMPONENT program
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
file(GLOB UNIT_FILES ${CMAKE_SOURCE_DIR}/packaging/systemd/*.service ${CMAKE_SOURCE_DIR}/packaging/systemd/*.socket)
if(UNIT_FILES)
    install(FILES ${UNIT_FILES} DESTINATION lib/systemd/system COMPONENT program)
endif()
install(EXPORT ZnNetwork NAMESPACE Zn:: FILE ZnNetworkTargets.cmake DESTINATION ${ZN_CMAKE_DIR}
        COMPONENT development)

install(CODE "set(ROOT \"${CMAKE_SOURCE_DIR}\")
set(UNIT_FOLDER \"${CMAKE_SOURCE_DIR}/source/ComponentSets/Components/network\")
set(FACES \"${FACES}\")
set(STAGE \"${CMAKE_BINARY_DIR}/package/include\")
set(DESTINATION \"${ZN_INCLUDE_DIR}\")" COMPONENT development)
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/InstallHeaders.cmake COMPONENT development)

set(PACKAGE_FILES ${CMAKE_BINARY_DIR}/package)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZnNetworkConfig.cmake.in ${PACKAGE_FILES}/ZnNetworkConfig.cmake
                              INSTALL_DESTINATION ${ZN_CMAKE_DIR})
write_basic_package_version_file(${PACKAGE_FILES}/ZnNetworkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PACKAGE_FILES}/ZnNetworkConfig.cmake ${PACKAGE_FILES}/ZnNetworkConfigVersion.cmake
        DESTINATION ${ZN_CMAKE_DIR} COMPONENT development)

# Relative to the file's own place: an installed tree may be moved.
file(RELATIVE_PATH ZN_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ZN_PREFIX_FROM_PC "${ZN_PREFIX_FROM_PC}")
list(TRANSFORM ZN_STATIC_LIBRARIES PREPEND -l OUTPUT_VARIABLE PC_LIBRARIES)
string(REPLACE "LINKER:" "-Wl," PC_REGISTRATIONS "${REGISTRATIONS}")
list(JOIN PC_LIBRARIES " " PC_LIBRARIES)
list(JOIN PC_REGISTRATIONS " " PC_REGISTRATIONS)
foreach(NAME IN ITEMS zn-network zn-network-static)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${NAME}.pc.in ${PACKAGE_FILES}/${NAME}.pc @ONLY)
    install(FILES ${PACKAGE_FILES}/${NAME}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

set(ZN_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/zn-network)
if(ZN_PACKAGES)
    set(ZN_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/libzn-network-dev)
    # As every Debian package has it: nobody debugs into the archive.
    install(CODE "execute_process(COMMAND strip --strip-debug --strip-unneeded
        \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libzn-network.a COMMAND_ERROR_IS_FATAL ANY)"
            COMPONENT development)
endif()
install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${ZN_DOC_DIR} COMPONENT development)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs ${CMAKE_SOURCE_DIR}/examples DESTINATION ${ZN_DOC_DIR}
        COMPONENT development PATTERN CMakeLists.txt EXCLUDE)
if(ZN_PACKAGES)
    include(ZnPackages)
endif()
