# What `cmake --install` puts where. The pages keep their places to each other, so that their links
# hold.
include(GNUInstallDirs)

install(TARGETS morvane RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(FILES README.md README.uk.md ARCHITECTURE.md CHANGELOG.md CONTRIBUTING.md SECURITY.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES fuzz/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/fuzz)
install(FILES web/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/web)
install(FILES web/engine/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/web/engine)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN "*.py" EXCLUDE PATTERN __pycache__ EXCLUDE)
# Scripts and positions that the pages are about.
install(DIRECTORY scripts DESTINATION ${CMAKE_INSTALL_DOCDIR} USE_SOURCE_PERMISSIONS
  FILES_MATCHING PATTERN "*.py" PATTERN datagen-shards PATTERN find-engine PATTERN "match*"
  PATTERN play.sh PATTERN openings.epd PATTERN solve-epd PATTERN __pycache__ EXCLUDE)
install(DIRECTORY tests/data DESTINATION ${CMAKE_INSTALL_DOCDIR}/tests
  FILES_MATCHING PATTERN "*.epd" PATTERN make_tactics.py PATTERN perft EXCLUDE PATTERN __pycache__ EXCLUDE)

if(MORVANE_PACKAGE)
  include(packaging/debian.cmake)
else()
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(FILES docs/morvane.6 DESTINATION ${CMAKE_INSTALL_MANDIR}/man6)
endif()
