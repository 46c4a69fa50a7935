# The Debian package's own files. deploy/package.sh takes version and architecture from control.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpmachine OUTPUT_VARIABLE triplet
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "-.*" "" debian_architecture ${triplet})
foreach(name "^x86_64-=amd64" "^i.86-=i386" "^aarch64-=arm64" "^arm.*hf$=armhf" "^arm.*eabi$=armel")
    string(REGEX MATCH "(.*)=(.*)" name ${name})
    set(debian_name ${CMAKE_MATCH_2})
    if(triplet MATCHES ${CMAKE_MATCH_1})
        set(debian_architecture ${debian_name})
    endif()
endforeach()
foreach(name control postinst postrm)
    configure_file(deploy/debian/${name}.in debian/${name} @ONLY)
endforeach()
