# SPDX-License-Identifier: MIT
# The CMake package and the pkg-config files. None of them contains the prefix, so an installed tree
# can be moved. A static and a shared build can use one prefix: each has its own files of targets,
# and all other files are the same.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zepjp)
configure_package_config_file(cmake/zepjpConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfigVersion.cmake DESTINATION ${package_dir})
set(kind static)
if(BUILD_SHARED_LIBS)
  set(kind shared)
endif()
install(EXPORT zepjpTargets FILE zepjp-${kind}-targets.cmake NAMESPACE zepjp::
  DESTINATION ${package_dir})

# Writes a directory of the installation in the form of a .pc file.
function(zepjp_pc_path variable directory)
  if(IS_ABSOLUTE "${directory}")
    set(${variable} "${directory}" PARENT_SCOPE)
  else()
    set(${variable} "\${prefix}/${directory}" PARENT_SCOPE)
  endif()
endfunction()
zepjp_pc_path(pc_libdir "${CMAKE_INSTALL_LIBDIR}")
zepjp_pc_path(pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" pc_prefix "\${pcfiledir}/${up}")
endif()
set(pc_openmp)
if(ZEP_OPENMP)
  string(REGEX REPLACE "^([^/].*)$" "-l\\1" pc_openmp "${ZEPJP_OPENMP_LINK}")
endif()
set(libraries zepjp zepcore)
if(TARGET zepcodec)
  list(APPEND libraries zepcodec)
endif()
foreach(library ${libraries})
  configure_file(cmake/${library}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
