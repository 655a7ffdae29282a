# The two packages: the program with the libraries that it needs, and the kit for
# authors of plugins. For Debian its own, for Windows a ZIP archive each.
#
#     cpack --config build/release/CPackConfig.cmake -B <folder>
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_ARCHIVE_PROGRAM_FILE_NAME gox-${PROJECT_VERSION}-windows)
  set(CPACK_ARCHIVE_SDK_FILE_NAME gox-sdk-${PROJECT_VERSION}-windows)
  # The program's has the one folder that comes beside raw_data.
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  option(GOX_WINDOWS_RUNTIME "Install the libraries of Qt and of the compiler with the program" ON)
  if(GOX_WINDOWS_RUNTIME)
    include(gox_windows_runtime)
  endif()
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
set(CPACK_PACKAGE_NAME gox)
set(CPACK_PACKAGE_VENDOR "GOX developers")
set(CPACK_PACKAGE_CONTACT "GOX developers <gox@localhost>")
set(CPACK_COMPONENTS_ALL program sdk)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${GOX_TOOL_DIR}")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME gox)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libqt5svg5, libsqlite3-0")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
  "Front end of a game-data build pipeline
 Copy the folder gox/tool into a data tree to use it.")

set(CPACK_DEBIAN_SDK_PACKAGE_NAME gox-sdk)
set(CPACK_DEBIAN_SDK_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_SDK_PACKAGE_DEPENDS "qtbase5-dev (>= 5.15)")
set(CPACK_COMPONENT_SDK_DESCRIPTION
  "Kit for authors of GOX plugins
 Headers, the library and the CMake package with gox_add_plugin.")
include(CPack)
