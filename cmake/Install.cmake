# What `cmake --install` puts in place. Runtime: roi and the modules side by side where roi looks for them. Devel, for
# those who write hosts: the headers and the library of the contract, for find_package(ROI) and `pkg-config roi`.
install(TARGETS ROI LIBRARY DESTINATION ${ROI_MODULE_DIR} COMPONENT Runtime)
install(FILES README.md CHANGELOG.md DESTINATION ${ROI_DOC_DIR} COMPONENT Runtime)
install(DIRECTORY docs DESTINATION ${ROI_DOC_DIR} COMPONENT Runtime)
if(ROI_HOST)
    install(TARGETS roi RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
    install(TARGETS Collections CollectionsEx CIF Geometry ImageCodecs VipsCodecs CairoCanvas Workbench
        LIBRARY DESTINATION ${ROI_MODULE_DIR} COMPONENT Runtime)
    install(DIRECTORY workbench/page DESTINATION ${ROI_MODULE_DIR} COMPONENT Runtime)
    install(FILES ${PROJECT_BINARY_DIR}/roi.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Runtime)
    install(FILES ${PROJECT_BINARY_DIR}/roi.bash RENAME roi
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions COMPONENT Runtime)
endif()

install(DIRECTORY contract DESTINATION ${ROI_INCLUDE_DIR} COMPONENT Devel FILES_MATCHING PATTERN "*.h")
install(DIRECTORY examples DESTINATION ${ROI_DOC_DIR} COMPONENT Devel)
install(TARGETS contract EXPORT ROITargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Devel)
install(EXPORT ROITargets NAMESPACE ROI:: DESTINATION ${ROI_PACKAGE_DIR} COMPONENT Devel)
install(FILES ${PROJECT_BINARY_DIR}/installed/ROIConfig.cmake ${PROJECT_BINARY_DIR}/ROIConfigVersion.cmake
    DESTINATION ${ROI_PACKAGE_DIR} COMPONENT Devel)
configure_file(cmake/roi.pc.in ${PROJECT_BINARY_DIR}/installed/roi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/installed/roi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Devel)

if(PROJECT_IS_TOP_LEVEL)
    include(cmake/Debian.cmake)
endif()
