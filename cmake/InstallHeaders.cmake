# Run by `cmake --install`: the unit headers and what they include, below one folder of their own.
# Gets ROOT, UNIT_FOLDER, FACES, STAGE (a folder of the build) and DESTINATION (relative to the prefix).
include(${ROOT}/cmake/PublicHeaders.cmake)
file(REMOVE_RECURSE ${STAGE})
zn_public_headers(HEADERS ${FACES})
foreach(HEADER IN LISTS HEADERS)
    zn_install_header(${HEADER} ${STAGE})
endforeach()
file(INSTALL ${STAGE}/ DESTINATION ${CMAKE_INSTALL_PREFIX}/${DESTINATION})
