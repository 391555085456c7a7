# Modules of this project: made as everybody's are, with our warnings, and finding the layer beside themselves or above.
include(${CMAKE_CURRENT_LIST_DIR}/../platform/module/Module.cmake)

function(bv_add_module name)
  bvschema_add_module(${name} ${ARGN})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/..")
  target_link_libraries(${name} PRIVATE bv_warnings)
endfunction()

function(bv_add_resources target)
  bvschema_add_resources(${target} ${ARGN})
  if(NOT WIN32)
    target_link_libraries(${target} PRIVATE bv_warnings)
  endif()
endfunction()
