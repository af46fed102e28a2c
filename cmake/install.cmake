# SPDX-License-Identifier: MIT
# The CMake package and the pkg-config files.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zepjp)
configure_package_config_file(cmake/zepjpConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/zepjpConfigVersion.cmake DESTINATION ${package_dir})
install(EXPORT zepjpTargets NAMESPACE zepjp:: DESTINATION ${package_dir})

set(pc_openmp)
if(ZEP_OPENMP)
  set(pc_openmp -fopenmp)
endif()
foreach(library zepjp zepcore)
  configure_file(cmake/${library}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
