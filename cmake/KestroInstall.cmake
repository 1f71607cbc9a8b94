# What `cmake --install` lays down: bin/ with the programs and a sample configuration, an empty Data/ beside it (the tool
# makes one level of directory only), the libraries with their headers, and the two packages that find them.

include(CMakePackageConfigHelpers)

if(BUILD_SHARED_LIBS)
  set_target_properties(kestrosetup kestroplan kestroquery PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  # A program's own run path doesn't reach what its libraries need.
  set_target_properties(KestroClient PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
install(TARGETS kestrosetup kestroplan kestroquery RUNTIME DESTINATION bin)
install(FILES ${PROJECT_SOURCE_DIR}/setup/KestroConfig.ini DESTINATION bin)
install(DIRECTORY DESTINATION Data)

install(TARGETS KestroBaseLib KestroClient EXPORT KestroTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT KestroTargets NAMESPACE Kestro:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kestro)
foreach(FOLDER Include KestroBaseLib/base KestroBaseLib/value KestroBaseLib/config KestroBaseLib/plan
    KestroBaseLib/recordset KestroBaseLib/eval KestroBaseLib/sql client)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${FOLDER}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestro
    FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
endforeach()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KestroConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KestroConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kestro)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestroConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KestroConfig.cmake ${PROJECT_BINARY_DIR}/KestroConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kestro)

file(RELATIVE_PATH KESTRO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(${PROJECT_SOURCE_DIR}/cmake/kestro.pc.in ${PROJECT_BINARY_DIR}/kestro.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kestro.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
