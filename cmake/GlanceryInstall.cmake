# Installs the program with everything it opens at run time in one folder, lib/glancery, and a link to
# the program in bin: it finds the rest beside itself, so a staged tree runs from anywhere.
include(GNUInstallDirs)
set(GLANCERY_FOLDER lib/glancery)

install(TARGETS glancery RUNTIME DESTINATION ${GLANCERY_FOLDER})
install(TARGETS glancery_render glancery_svg glancery_transfer
  LIBRARY DESTINATION ${GLANCERY_FOLDER})
# Of the pre-rendered pixels only those for screens of 3 pixels a point: they are the larger part of
# the package, and the drawings beside them serve other screens, some 10 ms slower.
install(DIRECTORY ${CMAKE_BINARY_DIR}/Glancery.appex DESTINATION ${GLANCERY_FOLDER}
  PATTERN "*@2x.pixels" EXCLUDE
  REGEX "/Glancery$" EXCLUDE)
install(TARGETS glancery_extension RUNTIME DESTINATION ${GLANCERY_FOLDER}/Glancery.appex)
install(TARGETS glancery_faulty_extension RUNTIME DESTINATION ${GLANCERY_FOLDER}/Faulty.appex)
install(FILES ${CMAKE_BINARY_DIR}/Faulty.appex/Info.plist
  DESTINATION ${GLANCERY_FOLDER}/Faulty.appex)
install(DIRECTORY ${CMAKE_BINARY_DIR}/system DESTINATION ${GLANCERY_FOLDER})
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/install)
file(CREATE_LINK ../${GLANCERY_FOLDER}/glancery ${CMAKE_BINARY_DIR}/install/glancery SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/install/glancery DESTINATION ${CMAKE_INSTALL_BINDIR})

# The manual and the completions, written by the program itself.
set(reference ${CMAKE_BINARY_DIR}/reference)
add_custom_command(
  OUTPUT ${reference}/stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${reference}
  COMMAND glancery man -o ${reference}/man
  COMMAND glancery completion bash > ${reference}/glancery
  COMMAND glancery completion zsh > ${reference}/_glancery
  COMMAND glancery completion fish > ${reference}/glancery.fish
  COMMAND sh -c "gzip -9n ${reference}/man/*.1"
  COMMAND ${CMAKE_COMMAND} -E touch ${reference}/stamp
  DEPENDS glancery
  VERBATIM)
add_custom_target(glancery_reference ALL DEPENDS ${reference}/stamp)
install(DIRECTORY ${reference}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${reference}/glancery DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${reference}/_glancery DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${reference}/glancery.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

# `make package` makes a Debian package of this. Its date is the commit's, so that two builds of a
# commit are the same bytes.
set(GLANCERY_CHANGE_DATE "Thu, 01 Jan 2026 00:00:00 +0000")
find_package(Git QUIET)
if(GIT_FOUND AND EXISTS ${CMAKE_SOURCE_DIR}/.git)
  execute_process(COMMAND ${GIT_EXECUTABLE} -C ${CMAKE_SOURCE_DIR} log -1 --format=%cD
    OUTPUT_VARIABLE GLANCERY_CHANGE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(changelog ${CMAKE_BINARY_DIR}/install/changelog)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian_changelog.in ${changelog} @ONLY)
add_custom_command(
  OUTPUT ${changelog}.gz
  COMMAND gzip -9nfk ${changelog}
  DEPENDS ${changelog}
  VERBATIM)
add_custom_target(glancery_changelog ALL DEPENDS ${changelog}.gz)
install(FILES ${changelog}.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/glancery)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE RENAME copyright
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/glancery)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME glancery)
set(CPACK_PACKAGE_CONTACT "The Glancery authors <authors@glancery.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Mood-tracking widgets and a phone's home screen around them")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Runs a widget extension as a phone would and shows its widgets:
as pictures, as a contact sheet of every state, or live in the browser.")
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded by name: the certificates for downloads, the time zones.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates, tzdata")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_STRIP_FILES ON)
include(CPack)
