# cmake --install: what a host developer needs, under a prefix that can be moved.
include(CMakePackageConfigHelpers)

# Modules are loaded by their path, so they stay out of the folders where libraries are looked for.
if(WIN32)
  set(BV_MODULE_DIR ${CMAKE_INSTALL_BINDIR})
else()
  set(BV_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/bvschema)
endif()
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/BVSchema)

install(FILES include/bvschema/bvschema.h include/bvschema/rows.h include/bvschema/classes.def
  include/bvschema/host.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/bvschema)
if(WIN32)
  install(FILES platform/windows/include/bvschema/platform.h platform/windows/include/bvschema/registry_change.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/bvschema)
  install(TARGETS bv_platform EXPORT BVSchemaTargets)
  set_target_properties(bv_platform PROPERTIES EXPORT_NAME platform)
else()
  install(DIRECTORY platform/native/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(TARGETS bvplatform bvtlc EXPORT BVSchemaTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  set_target_properties(bvplatform PROPERTIES EXPORT_NAME platform INSTALL_RPATH "$ORIGIN")
endif()
install(DIRECTORY include/bvschema/host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/bvschema)
install(TARGETS bvschema_host bvschema_host_layer EXPORT BVSchemaTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

foreach(module BVSchema BVSamples dlgs)
  if(TARGET ${module})
    install(TARGETS ${module} LIBRARY DESTINATION ${BV_MODULE_DIR} RUNTIME DESTINATION ${BV_MODULE_DIR})
  endif()
endforeach()
if(TARGET bvhost)
  file(RELATIVE_PATH to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(bvhost PROPERTIES INSTALL_RPATH "$ORIGIN/${to_lib}")
  install(TARGETS bvhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# What component modules are made with
set(BV_SDK_DIR ${package_dir}/module)
install(DIRECTORY platform/module/ DESTINATION ${BV_SDK_DIR})

# find_package(BVSchema)
install(EXPORT BVSchemaTargets NAMESPACE BVSchema:: DESTINATION ${package_dir})
configure_package_config_file(cmake/BVSchemaConfig.cmake.in ${CMAKE_BINARY_DIR}/BVSchemaConfig.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS BV_MODULE_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/BVSchemaConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/BVSchemaConfig.cmake ${CMAKE_BINARY_DIR}/BVSchemaConfigVersion.cmake
  DESTINATION ${package_dir})

# pkg-config: the prefix is told from where the file lies.
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
if(WIN32)
  set(pc_platform_flags " -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0601")
  set(pc_libs "-lole32 -loleaut32 -luuid -ladvapi32 -lshlwapi -lshell32 -lcomdlg32 -luser32 -lstrmiids")
  set(pc_module_entry "")
  set(pc_module_exports module.def)
else()
  set(pc_platform_flags "")
  set(pc_libs "-L\${libdir} -lbvplatform")
  set(pc_module_entry "\${prefix}/${BV_SDK_DIR}/module_entry.cpp")
  set(pc_module_exports module.map)
endif()
configure_file(cmake/bvschema.pc.in ${CMAKE_BINARY_DIR}/bvschema.pc @ONLY)
configure_file(cmake/bvschema-host.pc.in ${CMAKE_BINARY_DIR}/bvschema-host.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/bvschema.pc ${CMAKE_BINARY_DIR}/bvschema-host.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
