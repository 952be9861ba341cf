# Debian packages of what ZnInstall.cmake installs, made by `./dev package` with the preset "package":
#   libzn-network1 (component runtime), libzn-network-dev (development), zn (program)
set(DEBIAN ${CMAKE_SOURCE_DIR}/packaging/debian)
set(STAGED ${CMAKE_BINARY_DIR}/debian)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development program)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own, in the first line of its description
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Whoever builds the packages answers for them.
execute_process(COMMAND git config user.name OUTPUT_VARIABLE BUILDER ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND git config user.email OUTPUT_VARIABLE ADDRESS ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
cmake_host_system_information(RESULT HOST QUERY FQDN)
foreach(VALUE IN ITEMS "$ENV{DEBFULLNAME}" "${BUILDER}" "$ENV{USER}" unknown)
    if(VALUE)
        set(BUILDER "${VALUE}")
        break()
    endif()
endforeach()
foreach(VALUE IN ITEMS "$ENV{DEBEMAIL}" "${ADDRESS}" "root@${HOST}")
    if(VALUE)
        set(ADDRESS "${VALUE}")
        break()
    endif()
endforeach()
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${BUILDER} <${ADDRESS}>")
set(CPACK_PACKAGE_CONTACT "${CPACK_DEBIAN_PACKAGE_MAINTAINER}")

set(EXACTLY "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzn-network${ZN_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "network components for C++ programs
An HTTP server and client, message pipes between processes, network
information and a client for Amazon web services, as one library. Programs
that were linked with it need this package.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzn-network-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzn-network${ZN_SOVERSION} ${EXACTLY}")
# For the static library alone.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS
    "libssl-dev, libcurl4-openssl-dev, zlib1g-dev, libssh-dev, libspdlog-dev, libfmt-dev, libsystemd-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "network components for C++ programs (development files)
An HTTP server and client, message pipes between processes, network
information and a client for Amazon web services, as one library.

This package has the headers, the static library, what CMake and pkg-config
need to find the library, its documentation and examples.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME zn)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
# zn has the library inside, but for the part that looks after wireless interfaces.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libzn-network${ZN_SOVERSION} ${EXACTLY}")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "media-types")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "serve folders, send requests, talk over pipes
One program for what networks are asked from a shell: it serves a folder
over HTTP and HTTPS with logons of several kinds, sends requests, connects
programs by message pipes, shows adapters and addresses, and reads and
writes objects in storage.")

# What Debian wants beside the files: who may use them, what changed, and what the linker has to be told.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(DATE_OF --date=@$ENV{SOURCE_DATE_EPOCH})
else()
    execute_process(COMMAND git -C ${CMAKE_SOURCE_DIR} log -1 --format=@%ct OUTPUT_VARIABLE COMMITTED
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
    set(DATE_OF --date=${COMMITTED})
endif()
execute_process(COMMAND env LC_ALL=C date --utc --rfc-email ${DATE_OF} OUTPUT_VARIABLE DATE
                OUTPUT_STRIP_TRAILING_WHITESPACE)
configure_file(${DEBIAN}/changelog.in ${STAGED}/changelog.Debian @ONLY)
configure_file(${CMAKE_SOURCE_DIR}/CHANGELOG.md ${STAGED}/changelog COPYONLY)
execute_process(COMMAND gzip -9nkf changelog changelog.Debian WORKING_DIRECTORY ${STAGED} COMMAND_ERROR_IS_FATAL ANY)
foreach(COMPONENT IN ITEMS runtime development program)
    string(TOUPPER ${COMPONENT} UPPER)
    install(FILES ${DEBIAN}/copyright ${STAGED}/changelog.gz ${STAGED}/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${UPPER}_PACKAGE_NAME} COMPONENT ${COMPONENT})
endforeach()
file(WRITE ${STAGED}/shlibs
     "libzn-network ${ZN_SOVERSION} libzn-network${ZN_SOVERSION} (>= ${PROJECT_VERSION})\n")
file(WRITE ${STAGED}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${STAGED}/shlibs ${STAGED}/triggers)

include(CPack)
