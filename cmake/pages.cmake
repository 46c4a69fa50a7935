# The folder www of a build folder is the page folder that is installed, tried and tested: the pages, scripts and style,
# made of their sources, and beside them what needs no making. It is made anew as a whole, so that nothing stays behind.
set(page_folder ${PROJECT_BINARY_DIR}/www)
file(GLOB made_files RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS pages/*.htm www/*.js www/*.css)
file(GLOB page_sources CONFIGURE_DEPENDS pages/*.htm pages/parts/*.html www/*.js www/*.css)
file(GLOB page_files CONFIGURE_DEPENDS www/*)
list(FILTER page_files EXCLUDE REGEX "\\.(js|css)$")
list(TRANSFORM page_files REPLACE ".*/" "${page_folder}/" OUTPUT_VARIABLE copies)
list(TRANSFORM made_files REPLACE ".*/" "${page_folder}/" OUTPUT_VARIABLE made)

add_custom_command(OUTPUT ${made} ${copies}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${page_folder}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${page_folder}
    COMMAND ${CMAKE_COMMAND} -E copy ${page_files} ${page_folder}
    COMMAND tools/render pages ${page_folder} ${made_files}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    DEPENDS tools/render ${page_sources} ${page_files}
    COMMENT "Making the pages")
add_custom_target(pages ALL DEPENDS ${made} ${copies})
