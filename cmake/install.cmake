include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kyt_host)

install(TARGETS kyt_host EXPORT kyt_hostTargets)
# What namespace kyt_host::detail holds is ours alone.
install(DIRECTORY kyt_host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT headers FILES_MATCHING PATTERN "*.h"
        PATTERN "c" EXCLUDE PATTERN "detail" EXCLUDE PATTERN "codec" EXCLUDE PATTERN "exchange" EXCLUDE PATTERN "exchanges.h" EXCLUDE)

# What the headers refer to, and programs that build as they lie.
install(FILES docs/conventions.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The component virtual_controller, in a file of its own: not every installation has it. State is what tests look at.
if(TARGET virtual_controller)
  install(TARGETS virtual_controller EXPORT kyt_host_virtual_controllerTargets)
  install(FILES virtual_controller/conveyor.h virtual_controller/state.h virtual_controller/virtual_controller.h
                virtual_controller/vision_craft.h virtual_controller/welder.h
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/virtual_controller)
  install(FILES virtual_controller/io/io.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/virtual_controller/io)
  install(EXPORT kyt_host_virtual_controllerTargets NAMESPACE kyt_host:: DESTINATION ${package_dir})
endif()

install(EXPORT kyt_hostTargets NAMESPACE kyt_host:: DESTINATION ${package_dir})
configure_package_config_file(cmake/kyt_hostConfig.cmake.in kyt_hostConfig.cmake INSTALL_DESTINATION ${package_dir}
                              NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(kyt_hostConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kyt_hostConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/kyt_hostConfigVersion.cmake
        DESTINATION ${package_dir})

# Paths relative to the file itself, so that an installed tree may be moved.
file(RELATIVE_PATH includedir_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
if(NOT BUILD_SHARED_LIBS)
  set(static_requires jsoncpp)
  set(static_cflags " -DKYT_HOST_STATIC")
endif()
configure_file(cmake/kyt_host.pc.in kyt_host.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kyt_host.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
