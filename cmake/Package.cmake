# The files installed along with the programs, and the Debian package.
find_program(PELLORA_GZIP gzip REQUIRED)
set(pellora_packaging ${CMAKE_SOURCE_DIR}/Packaging)
set(pellora_compressed ${CMAKE_BINARY_DIR}/Packaging)

# pellora_install_compressed(folder name source): compressed while building, without name and time in it.
function(pellora_install_compressed folder name source)
  set(result ${pellora_compressed}/${name}.gz)
  add_custom_command(OUTPUT ${result}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${pellora_compressed}
    COMMAND ${PELLORA_GZIP} -9nc ${source} > ${result}
    DEPENDS ${source} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY pellora_compressed_files ${result})
  install(FILES ${result} DESTINATION ${folder})
endfunction()

foreach(program pellora-for-messages pellora-companion pellora-sample-store)
  pellora_install_compressed(${CMAKE_INSTALL_MANDIR}/man1 ${program}.1 ${pellora_packaging}/man/${program}.1)
  install(FILES ${pellora_packaging}/completions/pellora.bash RENAME ${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${pellora_packaging}/completions/pellora.fish RENAME ${program}.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endforeach()
install(FILES ${pellora_packaging}/completions/_pellora DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(PROGRAMS ${pellora_packaging}/completions/candidates
  DESTINATION ${CMAKE_INSTALL_DATADIR}/pellora-for-messages)
set(pellora_doc ${CMAKE_INSTALL_DATADIR}/doc/pellora-for-messages)
pellora_install_compressed(${pellora_doc} changelog ${pellora_packaging}/changelog)
get_property(compressed_files GLOBAL PROPERTY pellora_compressed_files)
add_custom_target(compressed ALL DEPENDS ${compressed_files})

install(FILES ${pellora_packaging}/copyright DESTINATION ${pellora_doc})
install(FILES Documentation/UserGuide.md Documentation/History.md Documentation/Companion.md Documentation/LanguageModel.md
  Documentation/Privacy.md DESTINATION ${pellora_doc})
# The pictures that the guide shows.
file(STRINGS Documentation/UserGuide.md shown REGEX "Screenshots/")
set(screenshots)
foreach(line ${shown})
  string(REGEX MATCHALL "Screenshots/[a-z-]+\\.png" pictures "${line}")
  list(TRANSFORM pictures PREPEND Documentation/)
  list(APPEND screenshots ${pictures})
endforeach()
list(REMOVE_DUPLICATES screenshots)
install(FILES ${screenshots} DESTINATION ${pellora_doc}/Screenshots)
install(FILES ${pellora_packaging}/app.pellora.Messages.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
# Present and not enabled: the user decides (Documentation/LanguageModel.md).
file(GLOB units CONFIGURE_DEPENDS ${pellora_packaging}/systemd/*)
install(FILES ${units} DESTINATION lib/systemd/user)

set(PELLORA_MAINTAINER "Pellora <maintainers@pellora.app>" CACHE STRING "Whom the package names as its maintainer")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pellora-for-messages)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "notes on recent texts for the people in Pellora")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "Reads the local Messages history, strictly read-only, and turns the last
30 days of one-to-one texting with the people in Pellora into short notes:
how often, who began, whether a reply is owed, links sent, news, meetups
and birthdays.
.
Message text stays in memory and goes to one place only: a language model
on this device, if there is one. Notes are sealed with a key that lives in
the keyring.
.
This package holds the helper, pellora-companion for the command line, and
pellora-sample-store, which makes up a history to try them on.")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${PELLORA_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "default-dbus-session-bus | dbus-session-bus, gnome-keyring | keepassxc, qt6-wayland, hicolor-icon-theme, tzdata")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS curl)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)  # the files are installed as they will lie, with the real prefix
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
include(CPack)
