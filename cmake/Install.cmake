# What `cmake --install` puts in place: roi, the modules side by side where roi looks for them, and, for those
# who write hosts, the headers of the contract with a package that find_package(ROI) reads.
include(CMakePackageConfigHelpers)

set(ROI_MODULE_DIR lib/roi)
set(ROI_PACKAGE_DIR lib/cmake/ROI)

install(TARGETS roi RUNTIME DESTINATION bin)
install(TARGETS ROI Collections CollectionsEx CIF Geometry ImageCodecs VipsCodecs LIBRARY DESTINATION ${ROI_MODULE_DIR})

install(DIRECTORY contract/ DESTINATION ${ROI_INCLUDE_DIR}/contract FILES_MATCHING PATTERN "*.h")

install(TARGETS contract EXPORT ROITargets ARCHIVE DESTINATION lib)
install(EXPORT ROITargets NAMESPACE ROI:: DESTINATION ${ROI_PACKAGE_DIR})
configure_package_config_file(cmake/ROIConfig.cmake.in ${CMAKE_BINARY_DIR}/ROIConfig.cmake
    INSTALL_DESTINATION ${ROI_PACKAGE_DIR} PATH_VARS ROI_MODULE_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ROIConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ROIConfig.cmake ${CMAKE_BINARY_DIR}/ROIConfigVersion.cmake
    DESTINATION ${ROI_PACKAGE_DIR})
