# Installing Kelo as a desktop application, and its Debian package.
#
# `cmake --install` puts `kelo` and `kelo-gui` in bin/, the desktop entry, the icon
# in the hicolor theme (rendered from its SVG at build time), the AppStream metainfo,
# the man page (generated from `kelo --help`) and the bash completion. CPack makes
# the .deb from the same rules; scripts/package drives it.
include(GNUInstallDirs)

set(KELO_DATA ${PROJECT_SOURCE_DIR}/data)
set(KELO_DATA_OUT ${PROJECT_BINARY_DIR}/data)
file(MAKE_DIRECTORY ${KELO_DATA_OUT})

# --- The icon: one SVG, the usual PNG sizes rendered from it. ---
find_program(KELO_RSVG rsvg-convert REQUIRED)
set(KELO_ICON_SIZES 16 24 32 48 64 128 256 512)
set(kelo_icon_pngs)
foreach(size IN LISTS KELO_ICON_SIZES)
  set(png ${KELO_DATA_OUT}/icons/hicolor/${size}x${size}/apps/app.kelo.Kelo.png)
  add_custom_command(
    OUTPUT ${png}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${KELO_DATA_OUT}/icons/hicolor/${size}x${size}/apps
    COMMAND ${KELO_RSVG} -w ${size} -h ${size} -o ${png} ${KELO_DATA}/icons/app.kelo.Kelo.svg
    DEPENDS ${KELO_DATA}/icons/app.kelo.Kelo.svg
    COMMENT "Rendering the ${size}px application icon"
    VERBATIM)
  list(APPEND kelo_icon_pngs ${png})
endforeach()
add_custom_target(kelo_icons ALL DEPENDS ${kelo_icon_pngs})
install(DIRECTORY ${KELO_DATA_OUT}/icons/hicolor DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)
install(FILES ${KELO_DATA}/icons/app.kelo.Kelo.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

# --- Desktop entry and AppStream metainfo. ---
set(KELO_GUI_EXEC kelo-gui)
configure_file(${KELO_DATA}/app.kelo.Kelo.desktop.in ${KELO_DATA_OUT}/app.kelo.Kelo.desktop @ONLY)
install(FILES ${KELO_DATA_OUT}/app.kelo.Kelo.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

# Screenshots are published beside the project's site; the metainfo lists every
# page picture in docs/screenshots, in its order.
set(KELO_SCREENSHOT_URL "https://kelo.app/screenshots" CACHE STRING "Where the metainfo's screenshots are published")
file(GLOB kelo_screenshots RELATIVE ${PROJECT_SOURCE_DIR}/docs/screenshots ${PROJECT_SOURCE_DIR}/docs/screenshots/[0-9]-*.png)
list(SORT kelo_screenshots)
set(KELO_SCREENSHOTS "")
set(kelo_first_screenshot TRUE)
foreach(shot IN LISTS kelo_screenshots)
  string(REGEX REPLACE "^[0-9]+-(.*)\\.png$" "\\1" page ${shot})
  string(SUBSTRING ${page} 0 1 initial)
  string(TOUPPER ${initial} initial)
  string(SUBSTRING ${page} 1 -1 rest)
  set(type "")
  if(kelo_first_screenshot)
    set(type " type=\"default\"")
    set(kelo_first_screenshot FALSE)
  endif()
  string(APPEND KELO_SCREENSHOTS
    "    <screenshot${type}>\n      <caption>${initial}${rest}</caption>\n"
    "      <image>${KELO_SCREENSHOT_URL}/${shot}</image>\n    </screenshot>\n")
endforeach()
configure_file(${KELO_DATA}/app.kelo.Kelo.metainfo.xml.in ${KELO_DATA_OUT}/app.kelo.Kelo.metainfo.xml @ONLY)
install(FILES ${KELO_DATA_OUT}/app.kelo.Kelo.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/screenshots/ DESTINATION ${CMAKE_INSTALL_DATADIR}/kelo/screenshots
        FILES_MATCHING PATTERN "[0-9]-*.png")

# --- The programs, the man page and the completion. ---
install(TARGETS kelo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET kelo-gui)
  install(TARGETS kelo-gui RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

add_custom_command(
  OUTPUT ${KELO_DATA_OUT}/kelo.1.gz
  COMMAND ${KELO_DATA}/make-manpage $<TARGET_FILE:kelo> ${PROJECT_VERSION} > ${KELO_DATA_OUT}/kelo.1
  COMMAND gzip -n -9 -f ${KELO_DATA_OUT}/kelo.1
  DEPENDS kelo ${KELO_DATA}/make-manpage
  COMMENT "Writing the kelo man page from its help"
  VERBATIM)
add_custom_target(kelo_manpage ALL DEPENDS ${KELO_DATA_OUT}/kelo.1.gz)
install(FILES ${KELO_DATA_OUT}/kelo.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${KELO_DATA}/kelo.bash-completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME kelo)

# --- The Debian package. ---
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelo)
set(CPACK_PACKAGE_VENDOR "The Kelo developers")
set(CPACK_PACKAGE_CONTACT "The Kelo developers <hello@kelo.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "keeps a designer's working files in order")
set(CPACK_PACKAGE_DESCRIPTION
  "Kelo watches the inbox folders you approve, suggests which client project each loose file belongs to, and sorts, renames, groups and trashes files through a journal: nothing is overwritten, copied or deleted, and every move can be undone. It has a Qt desktop app (kelo-gui) and a command (kelo).")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Read at run time, not linked: GIO guesses content types from shared-mime-info's database.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "shared-mime-info")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "hicolor-icon-theme")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
