# Component modules and what is compiled into them.

# bv_add_module(<name> [EXPORTS <path>] [<source>...])
#
# A module that the component model loads: <name>.dll or <name>.so, exporting the four operations of such a module and
# nothing else, under their plain names on every platform. EXPORTS names what another kind of module exports: <path>.def and
# <path>.map.
function(bv_add_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORTS" "")
  if(NOT arg_EXPORTS)
    set(arg_EXPORTS ${PROJECT_SOURCE_DIR}/cmake/module)
  endif()
  add_library(${name} MODULE ${arg_UNPARSED_ARGUMENTS})
  set_target_properties(${name} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX INSTALL_RPATH "$ORIGIN;$ORIGIN/..")
  target_link_libraries(${name} PRIVATE bv_platform bv_warnings)
  if(WIN32)
    # 32-bit callbacks carry their argument size in the symbol (@12); the fixup matches them to the plain names.
    target_sources(${name} PRIVATE ${arg_EXPORTS}.def)
    target_link_options(${name} PRIVATE -Wl,--enable-stdcall-fixup)
  else()
    set(exports ${arg_EXPORTS}.map)
    target_link_options(${name} PRIVATE -Wl,--version-script=${exports} -Wl,--gc-sections)
    if(NOT BV_SANITIZE)
      target_link_options(${name} PRIVATE -Wl,--no-undefined)  # a sanitizer's runtime may come with the host
    endif()
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${exports})
    target_link_libraries(${name} PRIVATE bv_module_entry)  # attaches DllMain and the resources to the layer
  endif()
endfunction()

# bv_compile_typelib(<variable> <file.idl>)
#
# Compiles the source of a type library; the variable becomes the path of the result, for bv_add_resources. The source is
# the same everywhere: widl compiles it for Windows, our own compiler for the native layer.
function(bv_compile_typelib variable source)
  cmake_path(GET source STEM name)
  cmake_path(ABSOLUTE_PATH source)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.tlb)
  if(WIN32)
    string(REGEX REPLACE "-gcc.*$" "-widl" widl ${CMAKE_C_COMPILER})
    find_program(BV_WIDL ${widl} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    # The standard definitions and the standard library, which holds nothing that depends on the processor.
    find_path(BV_IDL_INCLUDE oaidl.idl PATHS /usr/include/wine/wine/windows /usr/include/wine/windows
      NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(GLOB standard /usr/lib/*/wine/*-windows/stdole2.tlb /usr/lib/wine/*-windows/stdole2.tlb)
    list(TRANSFORM standard REPLACE "/stdole2.tlb$" "" OUTPUT_VARIABLE standard_folders)
    find_path(BV_IDL_LIBRARY stdole2.tlb HINTS ${standard_folders} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(command ${BV_WIDL} -I ${BV_IDL_INCLUDE} -L ${BV_IDL_LIBRARY} -t -o ${output} ${source})
    set(compiler ${BV_WIDL})
  else()
    set(command bvtlc ${source} ${output})
    set(compiler bvtlc)
  endif()
  add_custom_command(OUTPUT ${output} COMMAND ${command} DEPENDS ${source} ${compiler}
    COMMENT "Compiling the type library ${name}" VERBATIM)
  set(${variable} ${output} PARENT_SCOPE)
endfunction()

# bv_add_resources(<target> [STRINGS <file>] [SCRIPT <number> <file>]... [TYPELIB <file>]
#                  [CLASSES <classes.def> CLASS_NAMES <file> CLASS_TEMPLATE <file>])
#
# An object library with the resources of a module: the string table (lines BV_STRING(id, "text")), registration scripts
# (type "REGISTRY") and the type library (type "TYPELIB", number 1). Link it into the module. A class list gets one
# script for each class in it, made from the template and numbered from 101 in the order of the list. The file of texts
# is named strings.def.
function(bv_add_resources target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "STRINGS;TYPELIB;CLASSES;CLASS_NAMES;CLASS_TEMPLATE" "SCRIPT")
  set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target}_files)
  file(MAKE_DIRECTORY ${dir})
  if(NOT arg_STRINGS)
    set(arg_STRINGS ${dir}/strings.def)
    file(CONFIGURE OUTPUT ${arg_STRINGS} CONTENT "// This module has no texts of its own.\n")
  endif()

  set(script_files ${arg_SCRIPT})
  list(FILTER script_files EXCLUDE REGEX "^[0-9]+$")
  set(inputs ${script_files} ${arg_TYPELIB} ${arg_CLASSES} ${arg_CLASS_NAMES} ${arg_CLASS_TEMPLATE})
  set(generator ${PROJECT_SOURCE_DIR}/cmake/GenerateResources.cmake)
  add_custom_command(OUTPUT ${dir}/resources.inc
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${dir}/resources.inc "-DSCRIPTS=${arg_SCRIPT}" -DTYPELIB=${arg_TYPELIB}
      -DCLASSES=${arg_CLASSES} -DCLASS_NAMES=${arg_CLASS_NAMES} -DCLASS_TEMPLATE=${arg_CLASS_TEMPLATE} -P ${generator}
    DEPENDS ${generator} ${inputs}
    COMMENT "Writing the resources of ${target}"
    VERBATIM)

  # module.rc and module.cpp are the same table in the form of either platform; they find the lists by the include path.
  if(WIN32)
    set(table ${PROJECT_SOURCE_DIR}/resources/module.rc)
  else()
    set(table ${PROJECT_SOURCE_DIR}/resources/module.cpp)
  endif()
  set_property(SOURCE ${table} APPEND PROPERTY OBJECT_DEPENDS "${dir}/resources.inc;${arg_STRINGS}")
  cmake_path(GET arg_STRINGS PARENT_PATH strings_dir)
  add_library(${target} OBJECT ${table} ${dir}/resources.inc)
  target_include_directories(${target} PRIVATE ${dir} ${strings_dir})
  if(NOT WIN32)
    target_link_libraries(${target} PRIVATE bv_platform bv_warnings)
  endif()
endfunction()
