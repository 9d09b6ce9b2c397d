# What `cmake --install` and the package hold.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/morvsdk)

install(TARGETS morvsdk EXPORT morvsdkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/morvsdk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

install(EXPORT morvsdkTargets NAMESPACE morvsdk:: DESTINATION ${package_dir})
configure_package_config_file(cmake/morvsdkConfig.cmake.in morvsdkConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(morvsdkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/morvsdkConfig.cmake ${PROJECT_BINARY_DIR}/morvsdkConfigVersion.cmake
  DESTINATION ${package_dir})

# The .pc file finds its prefix from its own place, so that the installed tree can be moved as a whole.
file(RELATIVE_PATH PC_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
configure_file(cmake/morvsdk.pc.in morvsdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/morvsdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

foreach(section 1 3 5 7 8)
  file(GLOB pages CONFIGURE_DEPENDS docs/man/*.${section})
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

# bash looks a completion up under the name of the command: morvctl.bash is installed as morvctl.
file(GLOB completions CONFIGURE_DEPENDS tools/completion/*.bash)
foreach(completion ${completions})
  cmake_path(GET completion STEM command)
  install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${command})
endforeach()

# The library looks for them there when the prefix is /usr.
install(DIRECTORY data/texts DESTINATION morv/morvsdk)

install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libmorvsdk)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "the morvsdk authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
