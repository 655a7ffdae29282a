# What GOX for Windows needs beside itself: the libraries of Qt and of the compiler,
# Qt's plugins, and the licences of all of them. Installed with the program.
set(runtime_files)
foreach(module Core Gui Network Widgets)
  get_target_property(library Qt5::${module} IMPORTED_LOCATION_RELEASE)
  list(APPEND runtime_files "${library}")
endforeach()
get_filename_component(qt_libraries "${library}" DIRECTORY)
get_filename_component(qt_prefix "${qt_libraries}" DIRECTORY)
list(APPEND runtime_files "${qt_libraries}/Qt5Svg.dll")

foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE)
  get_filename_component(library "${library}" REALPATH)
  list(APPEND runtime_files "${library}")
endforeach()
install(FILES ${runtime_files} DESTINATION ${GOX_INSTALLED_TOOL_DIR} COMPONENT program)

foreach(plugin platforms/qwindows platforms/qoffscreen platforms/qminimal styles/qwindowsvistastyle
    imageformats/qsvg imageformats/qico imageformats/qjpeg imageformats/qgif iconengines/qsvgicon)
  get_filename_component(folder ${plugin} DIRECTORY)
  install(FILES "${qt_prefix}/plugins/${plugin}.dll"
    DESTINATION ${GOX_INSTALLED_TOOL_DIR}/${folder} COMPONENT program)
endforeach()
install(DIRECTORY "${qt_prefix}/licences" DESTINATION ${GOX_INSTALLED_TOOL_DIR} COMPONENT program)

# Of the compiler's libraries, and of what is used from its header alone.
foreach(package gcc-mingw-w64-base mingw-w64-common libxxhash-dev)
  install(FILES /usr/share/doc/${package}/copyright RENAME ${package}.txt
    DESTINATION ${GOX_INSTALLED_TOOL_DIR}/licences COMPONENT program)
endforeach()
