# The programs of a tool folder: <name>.<tag>.exe on Windows, <name>.<tag>.bin
# elsewhere.
if(WIN32)
  set(GOX_PROGRAM_SUFFIX ".exe")
else()
  set(GOX_PROGRAM_SUFFIX ".bin")
endif()

# Where a package holds what a data tree gets as its tool folder.
if(WIN32)
  set(GOX_INSTALLED_TOOL_DIR tool)
else()
  set(GOX_INSTALLED_TOOL_DIR ${CMAKE_INSTALL_LIBDIR}/gox/tool)
endif()

# gox_program(<target> <name>): names the program, builds it into the tool folder
# and installs it with the component "program".
function(gox_program target name)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME "${name}.${GOX_BUILD_TAG}"
    SUFFIX "${GOX_PROGRAM_SUFFIX}"
    RUNTIME_OUTPUT_DIRECTORY "${GOX_TOOL_DIR}"
    BUILD_RPATH "$ORIGIN"
    BUILD_RPATH_USE_ORIGIN ON
    INSTALL_RPATH "$ORIGIN")
  gox_compile_options(${target})
  install(TARGETS ${target} COMPONENT program RUNTIME DESTINATION ${GOX_INSTALLED_TOOL_DIR})
endfunction()
