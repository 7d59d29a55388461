# install_product(<target> [DESCRIPTION <text>])
#
# Installs a program or library into bin/ as it was built: stripped, what was stripped beside it as <file>.debug, where
# debuggers find it; in the package a component of its own. What has no resource script with a version of its own gets one with DESCRIPTION.
# The target "products" builds all of them.
add_custom_target(products)
function(install_product target)
  add_dependencies(products ${target})
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "")
  if(arg_DESCRIPTION)
    set(PROGRAM ${target})
    set(DESCRIPTION ${arg_DESCRIPTION})
    get_target_property(SUFFIX ${target} SUFFIX)
    get_target_property(type ${target} TYPE)
    set(FILETYPE VFT_DLL)
    if(type STREQUAL EXECUTABLE)
      set(FILETYPE VFT_APP)
      set(SUFFIX .exe)
    endif()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/ProgramVersion.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  endif()
  if(MSVC)
    install(FILES $<TARGET_FILE:${target}> DESTINATION bin COMPONENT product)
    install(FILES $<TARGET_PDB_FILE:${target}> DESTINATION bin COMPONENT debug OPTIONAL)
    return()
  endif()
  # The name alone, so that the link to the debug information holds no path; and no time of today.
  set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
  set(file $<TARGET_FILE_NAME:${target}>)
  add_custom_command(
    TARGET ${target}
    POST_BUILD
    COMMAND ${objcopy} --only-keep-debug ${file} ${file}.debug
    COMMAND ${objcopy} --strip-all --add-gnu-debuglink=${file}.debug ${file}
    WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}>
    VERBATIM)
  install(PROGRAMS $<TARGET_FILE:${target}> DESTINATION bin COMPONENT product)
  install(FILES $<TARGET_FILE:${target}>.debug DESTINATION bin COMPONENT debug)
endfunction()
