# What `cmake --install` puts in place.
# Only the program is installed: tests, benchmarks and tools stay in the build tree.
include(GNUInstallDirs)

set(LUMOX_DESKTOP_ID net.tallowby.Lumox)
set(LUMOX_ICON_SIZES 16 24 32 48 64 128 256 512)
set(packaging_src ${CMAKE_CURRENT_LIST_DIR})

# The man page goes out compressed the way Debian wants it: best compression, no name or time
# stamp in the header, so the bytes don't change from build to build.
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

add_custom_target(lumox_docs ALL DEPENDS ${packaging_out}/lumox.6.gz)

install(TARGETS lumox RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(FILES ${packaging_src}/${LUMOX_DESKTOP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT data)
install(FILES ${packaging_src}/${LUMOX_DESKTOP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT data)
foreach(size IN LISTS LUMOX_ICON_SIZES)
  set(icon_folder icons/hicolor/${size}x${size}/apps)
  install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/resources/${icon_folder}/${LUMOX_DESKTOP_ID}.png
          DESTINATION ${CMAKE_INSTALL_DATADIR}/${icon_folder} COMPONENT data)
endforeach()
install(FILES ${packaging_out}/lumox.6.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man6 COMPONENT data)
