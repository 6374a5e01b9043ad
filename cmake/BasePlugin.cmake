# base_add_plugin(<name> <source>... [OUTPUT_DIRECTORY <dir>])
#
# Builds a plug-in library for Base's loader: a module named exactly <name>.so (POSIX) or
# <name>.dll (Windows), without a "lib" prefix, linked to Base::Base, with every symbol hidden
# except the entry points marked KY_PLUGIN_EXPORT (<Base/Plugin/kyPluginExport.h>). A proxy is
# a plug-in whose name begins with "serviceDecl_". Installed with the Base package, so client
# projects get it from find_package(Base).
function(base_add_plugin name)
  cmake_parse_arguments(ARG "" "OUTPUT_DIRECTORY" "" ${ARGN})
  if(NOT ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "base_add_plugin(${name}): no sources")
  endif()
  add_library(${name} MODULE ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE Base::Base)
  if(WIN32)
    set(_base_plugin_suffix ".dll")
  else()
    set(_base_plugin_suffix ".so")
  endif()
  set_target_properties(${name} PROPERTIES
    PREFIX ""
    SUFFIX "${_base_plugin_suffix}"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(MINGW)
    # Like Base.dll itself: no run-time DLLs needed beside the plug-in.
    target_link_options(${name} PRIVATE -static)
  endif()
  if(ARG_OUTPUT_DIRECTORY)
    set_target_properties(${name} PROPERTIES
      LIBRARY_OUTPUT_DIRECTORY "${ARG_OUTPUT_DIRECTORY}"
      RUNTIME_OUTPUT_DIRECTORY "${ARG_OUTPUT_DIRECTORY}")
  endif()
endfunction()
