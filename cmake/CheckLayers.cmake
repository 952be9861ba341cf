# cmake -DROOT=<source folder> -P CheckLayers.cmake
# Fails with one line for each include that points up, or past a layer to the system.

set(UNIT_FOLDER source/ComponentSets/Components/network)
set(SYSTEM_API "sys/epoll|sys/socket|sys/eventfd|netinet/|arpa/inet|netdb|poll\\.h|linux/|curl/|libssh|openssl/ssl|zlib\\.h|spdlog/|nlohmann/")

function(refuse FOLDER PATTERN WHY)
    file(GLOB_RECURSE FILES ${ROOT}/${FOLDER}/*.h ${ROOT}/${FOLDER}/*.cpp)
    foreach(FILE IN LISTS FILES)
        file(STRINGS ${FILE} LINES REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"](${PATTERN})")
        foreach(LINE IN LISTS LINES)
            message(SEND_ERROR "${FILE}: ${LINE}: ${WHY}")
        endforeach()
    endforeach()
endfunction()

refuse(platform "common/|uZn|source/|tools/" "platform/ stands below common/ and the units")
refuse(common "uZn|source/|tools/" "common/ stands below the units")
refuse(common "platform/(httpapi|httpclient|winhttp|wininet|pipes|iphelper|icmp|wlan|firewall)/"
       "common/ knows no network service")
refuse(${UNIT_FOLDER} "tools/|CLI/" "units stand below the programs")
refuse(examples "common/|platform/" "an application includes the headers of units")
refuse(${UNIT_FOLDER} "${SYSTEM_API}" "units reach the system through platform/ and common/ only")
