# gox_add_plugin(<name> <sources>...)
#
# Makes a plugin library with the file name that GOX looks for:
# GOX_<name>.<tag>.dll, on every system. The tag is GOX_BUILD_TAG and must be
# that of the program which is to load the plugin.
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
endfunction()
