# What `cmake --install` puts into a prefix: libraries, public headers, a CMake package, a pkg-config file and the
# reference of fields. Nothing installed holds an absolute path, so that a prefix can be moved or staged with DESTDIR.
include(CMakePackageConfigHelpers)
set(QAPI_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qapi)

install(FILES src/qcapi/qcapi.h src/qcapi/errors.h src/qcapi/host.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qcapi)

# In the package the shared library is qapi::qapi and the archive qapi::qapi_static.
set_target_properties(qapi_shared PROPERTIES EXPORT_NAME qapi)
install(TARGETS qapi_shared qapi_static EXPORT qapi_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT qapi_targets FILE qapi_targets.cmake NAMESPACE qapi:: DESTINATION ${QAPI_PACKAGE_DIR})

configure_package_config_file(cmake/qapi-config.cmake.in ${PROJECT_BINARY_DIR}/qapi-config.cmake
                              INSTALL_DESTINATION ${QAPI_PACKAGE_DIR}
                              NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qapi-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qapi-config.cmake ${PROJECT_BINARY_DIR}/qapi-config-version.cmake
        DESTINATION ${QAPI_PACKAGE_DIR})

file(RELATIVE_PATH QAPI_INCLUDE_FROM_LIB ${CMAKE_INSTALL_FULL_LIBDIR} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/qapi.pc.in ${PROJECT_BINARY_DIR}/qapi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qapi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# tools/field_pages writes the reference of fields. A program for another machine can't run here, and under a sanitizer
# only the tests run it.
if(NOT QAPI_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
  set(QAPI_WRITE_FIELD_PAGES ON)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md")
endif()
