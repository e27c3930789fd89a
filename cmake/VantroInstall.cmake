# The installed library: for find_package(Vantro), for pkg-config, and for plain C.
include(CMakePackageConfigHelpers)

# RUNPATH, build options and the like do not travel; consumers get headers and the library.
install(TARGETS vantro EXPORT VantroTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/vantro DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT VantroTargets NAMESPACE Vantro::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Vantro)
configure_package_config_file(cmake/VantroConfig.cmake.in ${PROJECT_BINARY_DIR}/VantroConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Vantro)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VantroConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VantroConfig.cmake ${PROJECT_BINARY_DIR}/VantroConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Vantro)

file(RELATIVE_PATH VANTRO_PC_INCLUDE
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
configure_file(cmake/vantro.pc.in ${PROJECT_BINARY_DIR}/vantro.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantro.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
