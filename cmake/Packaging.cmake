# What `cmake --install` lays out beside the programs, and the Debian package
# `cpack -G DEB` makes of it. Only programs and their data are installed:
# tests, benchmarks, fuzzers, headers and static libraries stay in the build tree.
include(GNUInstallDirs)

set(CORVALE_APP_ID "com.corvale.Corvale")
set(desktop_sources "${PROJECT_SOURCE_DIR}/resources/desktop")

install(FILES "${desktop_sources}/${CORVALE_APP_ID}.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
install(FILES "${desktop_sources}/${CORVALE_APP_ID}.metainfo.xml" DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
install(FILES "${desktop_sources}/${CORVALE_APP_ID}.svg"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")

# Bitmap icons in the sizes desktops look for, drawn from the one SVG.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
set(icon_files "")
foreach(size 16 24 32 48 64 128 256 512)
  set(icon "${CMAKE_BINARY_DIR}/resources/icons/${size}x${size}/${CORVALE_APP_ID}.png")
  add_custom_command(
    OUTPUT "${icon}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_BINARY_DIR}/resources/icons/${size}x${size}"
    COMMAND "${RSVG_CONVERT}" -w ${size} -h ${size} -o "${icon}" "${desktop_sources}/${CORVALE_APP_ID}.svg"
    DEPENDS "${desktop_sources}/${CORVALE_APP_ID}.svg"
    VERBATIM)
  list(APPEND icon_files "${icon}")
  install(FILES "${icon}" DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps")
endforeach()
add_custom_target(corvale_icons ALL DEPENDS ${icon_files})

set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "corvale")
set(CPACK_PACKAGE_VENDOR "Corvale")
set(CPACK_PACKAGE_CONTACT "Corvale <packages@corvale.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Clinician credential keeper: licences, certifications and CME in one encrypted vault")
set(CPACK_PACKAGE_DESCRIPTION
    "Corvale keeps every licence, DEA registration, board certification, life-support card, malpractice policy and \
CME/CE activity in one encrypted vault on this computer, knows each state's renewal and education rules, and \
reminds on the desktop before anything expires.")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME "DEB-DEFAULT")
set(CPACK_DEBIAN_PACKAGE_SECTION "misc")
# dpkg-shlibdeps names every library the programs link (Qt's X11 and
# offscreen display plugins come with libqt6gui6, fonts with fontconfig).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Tesseract's library comes through shlibdeps; the English and orientation data it reads do not.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "tesseract-ocr-eng, tesseract-ocr-osd")
# The key lives in the Secret Service; reminders need a notification daemon.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring, dbus-user-session, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "notification-daemon")
include(CPack)
