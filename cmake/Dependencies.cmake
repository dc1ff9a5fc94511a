# The third-party libraries of the host and what lies beside it. The module itself needs none of them.
set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL ON)
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(pugixml REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(fmt REQUIRED)
pkg_check_modules(libzip REQUIRED IMPORTED_TARGET GLOBAL libzip)

# Debian packs OpenCV's parts one by one, without the package file that would need them all.
add_library(opencv INTERFACE)
find_path(OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
target_include_directories(opencv SYSTEM INTERFACE ${OPENCV_INCLUDE_DIR})
foreach(part core imgproc imgcodecs)
    find_library(OPENCV_${part} opencv_${part} REQUIRED)
    target_link_libraries(opencv INTERFACE ${OPENCV_${part}})
endforeach()
