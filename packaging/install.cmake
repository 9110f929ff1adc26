# What `cmake --install` puts in place, and the Debian package CPack makes of it.
# Only the program is installed: tests, benchmarks and tools stay in the build tree.
include(GNUInstallDirs)

set(LUMOX_DESKTOP_ID net.tallowby.Lumox)
set(LUMOX_MAINTAINER "Tallowby <lumox@tallowby.net>")
set(LUMOX_HOMEPAGE https://tallowby.net/)
set(LUMOX_ICON_SIZES 16 24 32 48 64 128 256 512)
set(packaging_src ${CMAKE_CURRENT_LIST_DIR})

# Man pages and the Debian changelog go out compressed the way Debian wants them: best
# compression, no name or time stamp in the header, so the bytes don't change from build to build.
function(lumox_gzip source target)
  add_custom_command(OUTPUT ${target}.gz
    COMMAND ${CMAKE_COMMAND} -E copy ${source} ${target}
    COMMAND gzip -9nf ${target}
    DEPENDS ${source}
    COMMENT "Compressing ${target}"
    VERBATIM)
endfunction()

set(packaging_out ${CMAKE_CURRENT_BINARY_DIR}/packaging)
configure_file(${packaging_src}/lumox.6.in ${packaging_out}/man/lumox.6 @ONLY)
lumox_gzip(${packaging_out}/man/lumox.6 ${packaging_out}/lumox.6)
lumox_gzip(${packaging_src}/debian/changelog ${packaging_out}/changelog)

# The Debian copyright file carries the licence text of LICENSE, in the control-file layout:
# each line indented by one space, an empty line as " .".
file(READ ${CMAKE_CURRENT_SOURCE_DIR}/LICENSE licence_text)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" _ "${licence_text}")
set(LUMOX_COPYRIGHT ${CMAKE_MATCH_1})
string(REGEX REPLACE "^.*(Permission is hereby granted)" "\\1" licence_text "${licence_text}")
string(STRIP "${licence_text}" licence_text)
string(REPLACE "\n\n" "\n.\n" licence_text "${licence_text}")
string(REPLACE "\n" "\n " LUMOX_LICENSE_TEXT " ${licence_text}")
configure_file(${packaging_src}/debian/copyright.in ${packaging_out}/copyright @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/LICENSE)

add_custom_target(lumox_docs ALL DEPENDS ${packaging_out}/lumox.6.gz ${packaging_out}/changelog.gz)

# Three parts: the program for a plain install, the data files, and what only the Debian package
# holds. Debian keeps games in /usr/games and wants the changelog and copyright beside the docs.
install(TARGETS lumox RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(FILES ${packaging_src}/${LUMOX_DESKTOP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT data)
install(FILES ${packaging_src}/${LUMOX_DESKTOP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT data)
foreach(size IN LISTS LUMOX_ICON_SIZES)
  set(icon_folder icons/hicolor/${size}x${size}/apps)
  install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/resources/${icon_folder}/${LUMOX_DESKTOP_ID}.png
          DESTINATION ${CMAKE_INSTALL_DATADIR}/${icon_folder} COMPONENT data)
endforeach()
install(FILES ${packaging_out}/lumox.6.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man6 COMPONENT data)
# GNOME Shell's extension that makes Lumox the background there; it runs the Lumox beside it.
# Its settings' schema goes compiled in its own folder, where the Shell of a ~/.local install
# looks as well as that of the package.
set(extension_src ${packaging_src}/gnome-shell/lumox-wallpaper@lumox)
find_program(GLIB_COMPILE_SCHEMAS glib-compile-schemas REQUIRED)
file(GLOB extension_schemas ${extension_src}/schemas/*.gschema.xml)
add_custom_command(OUTPUT ${packaging_out}/schemas/gschemas.compiled
  COMMAND ${GLIB_COMPILE_SCHEMAS} --strict --targetdir=${packaging_out}/schemas ${extension_src}/schemas
  DEPENDS ${extension_schemas} VERBATIM)
add_custom_target(extension_schemas ALL DEPENDS ${packaging_out}/schemas/gschemas.compiled)
set(extension_dir ${CMAKE_INSTALL_DATADIR}/gnome-shell/extensions/lumox-wallpaper@lumox)
install(DIRECTORY ${extension_src}/ DESTINATION ${extension_dir} COMPONENT data)
install(FILES ${packaging_out}/schemas/gschemas.compiled DESTINATION ${extension_dir}/schemas COMPONENT data)
# The screensaver's settings dialog, its sliders' ranges and defaults filled in from the program's.
add_executable(saver_settings ${packaging_src}/saver_settings.cpp)
target_link_libraries(saver_settings PRIVATE lumox_core)
add_custom_command(OUTPUT ${packaging_out}/lumox.xml
  COMMAND saver_settings ${packaging_src}/lumox.xml.in ${packaging_out}/lumox.xml
  DEPENDS saver_settings ${packaging_src}/lumox.xml.in VERBATIM)
add_custom_target(saver_settings_xml ALL DEPENDS ${packaging_out}/lumox.xml)
install(FILES ${packaging_out}/lumox.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/xscreensaver/config COMPONENT data)

# XScreenSaver runs its display modes from its own folder: a relative link there to the program,
# wherever `bin_folder` puts it.
function(lumox_saver_link bin_folder component)
  set(saver_folder ${CMAKE_INSTALL_LIBEXECDIR}/xscreensaver)
  file(RELATIVE_PATH target /usr/${saver_folder} /usr/${bin_folder}/lumox)
  install(CODE "file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${saver_folder}\")
                file(CREATE_LINK ${target} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${saver_folder}/lumox\" SYMBOLIC)"
          COMPONENT ${component} ${ARGN})
endfunction()
lumox_saver_link(${CMAKE_INSTALL_BINDIR} program)

# The systemd user unit that keeps the wallpaper running with the graphical session, and
# xsecurelock's saver module; both name the program where this install puts it.
function(lumox_session_files program component)
  set(LUMOX_PROGRAM ${program})
  set(out ${packaging_out}/${component})
  configure_file(${packaging_src}/lumox-wallpaper.service.in ${out}/lumox-wallpaper.service @ONLY)
  configure_file(${packaging_src}/saver_lumox.in ${out}/saver_lumox @ONLY)
  # systemd looks for user units in lib/systemd/user, whatever the platform's lib folder is.
  install(FILES ${out}/lumox-wallpaper.service DESTINATION lib/systemd/user COMPONENT ${component} ${ARGN})
  install(PROGRAMS ${out}/saver_lumox DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/xsecurelock COMPONENT ${component} ${ARGN})
endfunction()
lumox_session_files(${CMAKE_INSTALL_FULL_BINDIR}/lumox program)

install(TARGETS lumox RUNTIME DESTINATION games COMPONENT debian EXCLUDE_FROM_ALL)
# What dh_strip does beyond a plain strip: drop the compiler's notes.
install(CODE "execute_process(COMMAND \"${CMAKE_STRIP}\" --remove-section=.comment --remove-section=.note
                                      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/games/lumox\"
                              COMMAND_ERROR_IS_FATAL ANY)"
        COMPONENT debian EXCLUDE_FROM_ALL)
lumox_saver_link(games debian EXCLUDE_FROM_ALL)
lumox_session_files(/usr/games/lumox debian EXCLUDE_FROM_ALL)
install(FILES ${packaging_out}/copyright ${packaging_out}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/lumox COMPONENT debian EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumox)
set(CPACK_PACKAGE_VENDOR Tallowby)
set(CPACK_PACKAGE_CONTACT ${LUMOX_MAINTAINER})
set(CPACK_PACKAGE_HOMEPAGE_URL ${LUMOX_HOMEPAGE})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "flight through a field of coloured stars")
set(CPACK_PACKAGE_DESCRIPTION [[
Lumox fills the screen with a cloud of coloured stars and flies through it,
turning slowly about the line of flight. Stars fade in from the dark far ahead
and brighten as they come near.

The arrow keys change the speed and the turn, and a settings window changes
the speed, the turn, the colours, the size and the number of the stars while
the flight goes on. It draws with OpenGL and runs on X11 and Wayland desktops.
]])
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_INSTALL_CMAKE_PROJECTS
    "${CMAKE_BINARY_DIR};Lumox;data;/"
    "${CMAKE_BINARY_DIR};Lumox;debian;/")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt loads its platform plugins at run time, so dpkg-shlibdeps can't see them: X11 needs
# qt6-qpa-plugins, Wayland qt6-wayland.
set(CPACK_DEBIAN_PACKAGE_DEPENDS qt6-qpa-plugins)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS qt6-wayland)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
