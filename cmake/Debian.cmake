# `cpack -G DEB` in the build folder makes the packages roi and libroi-dev; scripts/pack does all of it.
set(ROI_MAINTAINER "ROI maintainers <maintainers@roi.invalid>" CACHE STRING "Who answers for the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME roi)
set(CPACK_PACKAGE_CONTACT ${ROI_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL Runtime Devel)
set(CPACK_COMPONENT_DEVEL_DEPENDS Runtime)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME roi)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "Places ellipses, rings, rectangles, parallelograms, polylines, polygons and
masks on images, edits them by their nodes, measures what they hold and draws
them. The figures are a module that other programs load too.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS gnuplot-nox)
# What the page of the workbench is built on; without it everything else works.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "libjs-leaflet, libjs-chart.js")
set(CPACK_DEBIAN_DEVEL_PACKAGE_NAME libroi-dev)
set(CPACK_DEBIAN_DEVEL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVEL_PACKAGE_DEPENDS libc6-dev)
set(CPACK_DEBIAN_DEVEL_DESCRIPTION "Headers, a static library and examples for hosts of the module of figures:
programs that load it and drive it through its interfaces.")

# What Debian asks of a package beyond what an installation has.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake)
include(CPack)
