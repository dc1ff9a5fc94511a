# Where things lie once they are installed. The modules lie side by side, apart from the libraries that are linked.
include(GNUInstallDirs)

set(ROI_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/roi-module)
set(ROI_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/roi)
set(ROI_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ROI)
set(ROI_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/roi)

# The way from one installed folder to another: what is installed finds its like wherever the whole is moved to.
file(RELATIVE_PATH ROI_BIN_TO_MODULES ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR}/roi)
file(RELATIVE_PATH ROI_LIB_TO_INCLUDE ${CMAKE_INSTALL_FULL_LIBDIR} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
