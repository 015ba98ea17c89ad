# What a Debian package has beyond an installation, and how CPack makes one. scripts/make-package calls it.

# Who answers for the package. The address is a placeholder, in a domain that is reserved for such: whoever gives
# packages to others sets one that is read, -DMORVANE_ADDRESS=... It stands nowhere else.
set(MORVANE_MAINTAINER "the Morvane developers" CACHE STRING "Maintainer of the Debian package")
set(MORVANE_ADDRESS "morvane@example.org" CACHE STRING "The maintainer's address of electronic mail")

find_program(MORVANE_GZIP gzip REQUIRED)

# morvane_install_compressed(INPUT NAME FOLDER): installs FOLDER/NAME, compressed as Debian wants it.
function(morvane_install_compressed input name folder)
  set(output ${PROJECT_BINARY_DIR}/packaging/${name})
  add_custom_command(OUTPUT ${output} DEPENDS ${input}
    COMMAND ${MORVANE_GZIP} -9nc ${input} > ${output}
    VERBATIM)
  add_custom_target(morvane_${name} ALL DEPENDS ${output})
  install(FILES ${output} DESTINATION ${folder})
endfunction()

file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/packaging)
set(folder ${PROJECT_SOURCE_DIR}/packaging)
morvane_install_compressed(${PROJECT_SOURCE_DIR}/docs/morvane.6 morvane.6.gz
  ${CMAKE_INSTALL_MANDIR}/man6)
configure_file(${folder}/changelog ${PROJECT_BINARY_DIR}/packaging/changelog @ONLY)
morvane_install_compressed(${PROJECT_BINARY_DIR}/packaging/changelog changelog.Debian.gz
  ${CMAKE_INSTALL_DOCDIR})
install(FILES ${folder}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${folder}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
  RENAME morvane)

# README.md links to the licence by this name.
file(CREATE_LINK copyright ${PROJECT_BINARY_DIR}/packaging/LICENSE SYMBOLIC)
install(FILES ${PROJECT_BINARY_DIR}/packaging/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME morvane)
set(CPACK_PACKAGE_CONTACT "${MORVANE_MAINTAINER} <${MORVANE_ADDRESS}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chess engine that speaks UCI")
set(CPACK_PACKAGE_DESCRIPTION
"Morvane plays chess for graphical chess boards, tournament managers and
scripts, which drive it over standard input and output by the UCI protocol.
It searches with several threads over a shared transposition table and judges
positions by a hand-written evaluation.
.
Modes for developers count move sequences, print the evaluation term by term,
and write training positions from games that it plays with itself.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "xboard, polyglot")
include(CPack)
