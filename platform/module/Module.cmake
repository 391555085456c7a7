# Component modules and what is compiled into them, for our own modules and, installed with the CMake package, for those of
# others. The folder of this file has all that a module is made with.

# bvschema_add_module(<name> <source>... [EXPORTS <path>]
#                     [STRINGS <file>] [TYPELIB <file.idl>] [SCRIPT <number> <file>]...)
#
# A module that the component model loads: <name>.dll or <name>.so, exporting the four operations of such a module
# (DllGetClassObject, DllCanUnloadNow, DllRegisterServer, DllUnregisterServer) and nothing else, under their plain names on
# every platform. Its DllMain is called everywhere. EXPORTS names what another kind of module exports: <path>.def and
# <path>.map. The other arguments are resources, see bvschema_add_resources; TYPELIB takes the library's source.
function(bvschema_add_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORTS;STRINGS;TYPELIB" "SCRIPT")
  if(NOT arg_EXPORTS)
    set(arg_EXPORTS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/module)
  endif()
  add_library(${name} MODULE ${arg_UNPARSED_ARGUMENTS})
  set_target_properties(${name} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name} PRIVATE BVSchema::BVSchema)
  if(WIN32)
    # 32-bit callbacks carry their argument size in the symbol (@12); the fixup matches them to the plain names. A module
    # that needs the compiler's own libraries beside it can't be loaded by a program that is elsewhere.
    target_sources(${name} PRIVATE ${arg_EXPORTS}.def)
    target_link_options(${name} PRIVATE -Wl,--enable-stdcall-fixup -static)
  else()
    set(exports ${arg_EXPORTS}.map)
    target_link_options(${name} PRIVATE -Wl,--version-script=${exports} -Wl,--gc-sections)
    if(NOT BV_SANITIZE AND NOT "${CMAKE_CXX_FLAGS} ${CMAKE_MODULE_LINKER_FLAGS}" MATCHES "-fsanitize")
      target_link_options(${name} PRIVATE -Wl,--no-undefined)  # a sanitizer's runtime may come with the host
    endif()
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${exports})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # A library with unique symbols stays in memory for ever.
      target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
    endif()
    # Attaches DllMain and the resources to the layer.
    set(entry ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/module_entry.cpp)
    target_sources(${name} PRIVATE ${entry})
    set_source_files_properties(${entry} TARGET_DIRECTORY ${name}
      PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON SKIP_PRECOMPILE_HEADERS ON)
  endif()

  if(arg_STRINGS OR arg_TYPELIB OR arg_SCRIPT)
    set(resources "")
    if(arg_TYPELIB)
      bvschema_compile_typelib(library ${arg_TYPELIB})
      list(APPEND resources TYPELIB ${library})
    endif()
    if(arg_STRINGS)
      list(APPEND resources STRINGS ${arg_STRINGS})
    endif()
    if(arg_SCRIPT)
      list(APPEND resources SCRIPT ${arg_SCRIPT})
    endif()
    bvschema_add_resources(${name}_resources ${resources})
    target_link_libraries(${name} PRIVATE ${name}_resources)
  endif()
endfunction()

# bvschema_compile_typelib(<variable> <file.idl>)
#
# Compiles the source of a type library; the variable becomes the path of the result, for bvschema_add_resources. The source
# is the same everywhere: widl compiles it for Windows, our own compiler for the native layer.
function(bvschema_compile_typelib variable source)
  cmake_path(GET source STEM name)
  cmake_path(ABSOLUTE_PATH source)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.tlb)
  if(WIN32)
    string(REGEX REPLACE "-(gcc|g\\+\\+|c\\+\\+).*$" "-widl" widl ${CMAKE_CXX_COMPILER})
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
    set(command BVSchema::bvtlc ${source} ${output})
    set(compiler BVSchema::bvtlc)
  endif()
  add_custom_command(OUTPUT ${output} COMMAND ${command} DEPENDS ${source} ${compiler}
    COMMENT "Compiling the type library ${name}" VERBATIM)
  set(${variable} ${output} PARENT_SCOPE)
endfunction()

# bvschema_add_resources(<target> [STRINGS <file>] [SCRIPT <number> <file>]... [TYPELIB <file>]
#                        [CLASSES <classes.def> CLASS_NAMES <file> CLASS_TEMPLATE <file>])
#
# An object library with the resources of a module: the string table (lines BV_STRING(id, "text")), registration scripts
# (type "REGISTRY") and the type library (type "TYPELIB", number 1). Link it into the module. A class list gets one
# script for each class in it, made from the template and numbered from 101 in the order of the list. The file of texts
# is named strings.def.
function(bvschema_add_resources target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "STRINGS;TYPELIB;CLASSES;CLASS_NAMES;CLASS_TEMPLATE" "SCRIPT")
  set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target}_files)
  file(MAKE_DIRECTORY ${dir})
  if(NOT arg_STRINGS)
    set(arg_STRINGS ${dir}/strings.def)
    file(CONFIGURE OUTPUT ${arg_STRINGS} CONTENT "// This module has no texts of its own.\n")
  endif()
  cmake_path(ABSOLUTE_PATH arg_STRINGS)

  set(scripts "")
  set(script_files "")
  foreach(item IN LISTS arg_SCRIPT)
    if(NOT item MATCHES "^[0-9]+$")
      cmake_path(ABSOLUTE_PATH item)
      list(APPEND script_files ${item})
    endif()
    list(APPEND scripts ${item})
  endforeach()
  set(inputs ${script_files} ${arg_TYPELIB} ${arg_CLASSES} ${arg_CLASS_NAMES} ${arg_CLASS_TEMPLATE})
  set(generator ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/GenerateResources.cmake)
  add_custom_command(OUTPUT ${dir}/resources.inc
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${dir}/resources.inc "-DSCRIPTS=${scripts}" -DTYPELIB=${arg_TYPELIB}
      -DCLASSES=${arg_CLASSES} -DCLASS_NAMES=${arg_CLASS_NAMES} -DCLASS_TEMPLATE=${arg_CLASS_TEMPLATE} -P ${generator}
    DEPENDS ${generator} ${inputs}
    COMMENT "Writing the resources of ${target}"
    VERBATIM)

  # resources.rc and resources.cpp are the same table in the form of either platform; they find the lists by the include
  # path.
  if(WIN32)
    set(table ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/resources.rc)
  else()
    set(table ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/resources.cpp)
  endif()
  cmake_path(GET arg_STRINGS PARENT_PATH strings_dir)
  add_library(${target} OBJECT ${table} ${dir}/resources.inc)
  set_property(SOURCE ${table} APPEND PROPERTY OBJECT_DEPENDS "${dir}/resources.inc;${arg_STRINGS}")
  target_include_directories(${target} PRIVATE ${dir} ${strings_dir})
  if(NOT WIN32)
    target_link_libraries(${target} PRIVATE BVSchema::BVSchema)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
endfunction()
