# What find_package(ROI) reads: in the build tree, with ROI_DIR=BUILD, and in an installation.
include(CMakePackageConfigHelpers)

export(TARGETS contract NAMESPACE ROI:: FILE ${PROJECT_BINARY_DIR}/ROITargets.cmake)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ROIConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/ROIConfig.cmake.in ${PROJECT_BINARY_DIR}/installed/ROIConfig.cmake
    INSTALL_DESTINATION ${ROI_PACKAGE_DIR} PATH_VARS ROI_MODULE_DIR)
block()
    set(ROI_MODULE_DIR bin)
    configure_package_config_file(cmake/ROIConfig.cmake.in ${PROJECT_BINARY_DIR}/ROIConfig.cmake
        INSTALL_DESTINATION . INSTALL_PREFIX ${PROJECT_BINARY_DIR} PATH_VARS ROI_MODULE_DIR)
endblock()
