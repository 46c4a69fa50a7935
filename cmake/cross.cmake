# Builds for another processor: --toolchain cmake/cross.cmake -DCMAKE_CXX_COMPILER=TRIPLET-g++
# The presets name a compiler, so the cross compiler is named where it replaces that one.
if(NOT CMAKE_CXX_COMPILER MATCHES "([^/-]+)-[^/]+-g\\+\\+")
    message(FATAL_ERROR "-DCMAKE_CXX_COMPILER= names the cross compiler, for example aarch64-linux-gnu-g++")
endif()
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_MATCH_1})
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_CXX_COMPILER)
