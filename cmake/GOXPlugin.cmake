# The level of the plugin kit. It goes up by one with every change of the contract
# headers that makes a plugin built before unfit for the program: a virtual
# operation or a member that is added, moved or changed.
set_property(GLOBAL PROPERTY GOX_SDK_LEVEL 3)

# gox_add_plugin(<name> <sources>...)
#
# Makes a plugin library with the file name that GOX looks for:
# GOX_<name>.<tag>.dll, on every system. The tag is GOX_BUILD_TAG and must be
# that of the program which is to load the plugin. The level of the kit goes into
# the plugin's metadata as "GOX_SDK_LEVEL"; the program enters no plugin of
# another level.
function(gox_add_plugin name)
  set(target GOX_${name})
  add_library(${target} MODULE ${ARGN})
  target_link_libraries(${target} PRIVATE GOX::gox_contracts)
  target_compile_features(${target} PRIVATE cxx_std_17)
  set_target_properties(${target} PROPERTIES
    AUTOMOC ON
    PREFIX ""
    OUTPUT_NAME "GOX_${name}.${GOX_BUILD_TAG}"
    SUFFIX ".dll"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  get_property(level GLOBAL PROPERTY GOX_SDK_LEVEL)
  set_property(TARGET ${target} APPEND PROPERTY AUTOMOC_MOC_OPTIONS "-MGOX_SDK_LEVEL=${level}")
  # A folder for each level, or else a tree that was built before would keep the
  # metadata of its old level: moc is not run again because an option has changed.
  set_target_properties(${target} PROPERTIES
    AUTOGEN_BUILD_DIR "${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen_level_${level}")
endfunction()
