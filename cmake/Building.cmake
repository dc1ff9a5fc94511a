# What the project's own sources are built with, on GCC and Clang alike. All of it holds in the project's folders only:
# a project that takes this one in keeps its own.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# Everything that is built for running lies side by side: modules are opened relative to one another.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

include_directories(${PROJECT_SOURCE_DIR})
add_compile_options(
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual
    # GCC 12 takes a text that is put before another for one that overlaps it, in its own library, and at -Os the inside of
    # an optional that was asked for its value for one that was never set.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>,$<CONFIG:MinSizeRel>>:-Wno-maybe-uninitialized>
    # Geometry is compared bit for bit across builds: no fused multiply-add.
    -ffp-contract=off)

set(ROI_SANITIZERS address,undefined)
if(ROI_FUZZ)
    set(ROI_SANITIZE ON)
    # Coverage for the fuzzer to follow, in the modules too.
    add_compile_options(-fsanitize=fuzzer-no-link)
elseif(ROI_THREAD)
    set(ROI_SANITIZE ON)
    set(ROI_SANITIZERS thread)
endif()
if(ROI_SANITIZE)
    add_compile_options(-fsanitize=${ROI_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ROI_SANITIZERS})
endif()
