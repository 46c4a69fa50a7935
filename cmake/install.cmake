# What an installation consists of. The paths are the appliance's own: DESTDIR puts all of them below another
# root directory, a prefix means nothing.
set(NAT_PROGRAM_DIR /usr/lib/quillstead CACHE PATH "The program, outside of what a web server delivers")
set(NAT_STATE_DIR /var/lib/quillstead CACHE PATH "Its folder www holds the pages")
set(NAT_SHARE_DIR /usr/share/quillstead CACHE PATH "Copies of the configuration files as the factory has them")
set(NAT_DOC_DIR /usr/share/doc/quillstead-admin CACHE PATH "The documents")

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME program)
# Folders that only a file in them asks for would get their modes from the umask.
install(DIRECTORY DESTINATION ${NAT_PROGRAM_DIR})
install(DIRECTORY DESTINATION ${NAT_STATE_DIR})
install(DIRECTORY DESTINATION ${NAT_SHARE_DIR})
install(DIRECTORY DESTINATION ${NAT_SHARE_DIR}/factory)
install(DIRECTORY DESTINATION ${NAT_SHARE_DIR}/factory/etc/quillstead)
install(DIRECTORY DESTINATION ${NAT_DOC_DIR})
# Settings pass through the page folder, and a program that may look into it can keep every request waiting.
install(DIRECTORY DESTINATION ${NAT_STATE_DIR}/www DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

# The history of changes, with old files, which may hold passwords.
install(DIRECTORY DESTINATION /var/lib/quillstead-admin DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
install(DIRECTORY DESTINATION /var/lib/quillstead-admin/changes
    DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

configure_file(deploy/install-factory.in install-factory @ONLY)
configure_file(deploy/at-boot.in at-boot @ONLY)
install(PROGRAMS $<TARGET_FILE:nat.cgi> ${PROJECT_BINARY_DIR}/install-factory ${PROJECT_BINARY_DIR}/at-boot
    DESTINATION ${NAT_PROGRAM_DIR})
configure_file(deploy/quillstead-admin.service.in quillstead-admin.service @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quillstead-admin.service DESTINATION /usr/lib/systemd/system)
install(DIRECTORY ${page_folder}/ DESTINATION ${NAT_STATE_DIR}/www
    DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
# A web server that finds a file of this name in the page folder runs the program there.
file(WRITE ${PROJECT_BINARY_DIR}/page/nat.cgi "")
install(FILES ${PROJECT_BINARY_DIR}/page/nat.cgi DESTINATION ${NAT_STATE_DIR}/www)
# What an appliance's owner needs. The others are for those who have the sources.
install(FILES docs/installing.md docs/servers.md docs/files.md docs/changes.md docs/diagnosis.md docs/templates.md docs/automation.md
    ${openapi} DESTINATION ${NAT_DOC_DIR})

# Configuration is never part of a package, or an upgrade would replace it: its copies are, and
# install-factory puts in place what is missing. The factory's logs are the practice appliance's alone.
install(DIRECTORY lab/factory/etc lab/factory/usr DESTINATION ${NAT_SHARE_DIR}/factory PATTERN logs EXCLUDE)
file(GLOB_RECURSE factory_files CONFIGURE_DEPENDS lab/factory/etc/* lab/factory/usr/*)
set(factory_archive ${PROJECT_BINARY_DIR}/factory.tar)
add_custom_command(OUTPUT ${factory_archive}
    COMMAND ${PROJECT_SOURCE_DIR}/deploy/factory-archive.sh ${PROJECT_SOURCE_DIR}/lab/factory ${factory_archive}
    DEPENDS deploy/factory-archive.sh ${factory_files})
add_custom_target(factory ALL DEPENDS ${factory_archive})
install(FILES ${factory_archive} DESTINATION /usr/share/quillstead) # where the program looks for it
set(servers ${NAT_SHARE_DIR}/factory/etc/quillstead)
install(FILES deploy/lighttpd.conf DESTINATION ${servers})
install(FILES deploy/busybox-httpd.conf DESTINATION ${servers} RENAME httpd.conf)
install(CODE "execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND sh \"\$ENV{DESTDIR}${NAT_PROGRAM_DIR}/install-factory\" \"\$ENV{DESTDIR}\")" COMPONENT configuration)
