# The description of the interface for programs, made of what the program says of itself. A program for another
# processor does not run here; then the build folder of the release has the same one.
set(openapi ${PROJECT_SOURCE_DIR}/build/release/openapi.json)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT CMAKE_CROSSCOMPILING)
    set(openapi ${PROJECT_BINARY_DIR}/openapi.json)
    add_custom_command(OUTPUT ${openapi}
        COMMAND tools/openapi ${PROJECT_VERSION} $<TARGET_FILE:nat.cgi> ${openapi}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        DEPENDS tools/openapi nat.cgi
        COMMENT "Describing the interface")
    add_custom_target(openapi ALL DEPENDS ${openapi})
endif()
