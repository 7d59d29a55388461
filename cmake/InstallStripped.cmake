# Run when ${file} is installed: takes it apart in ${folder}, and installs the ${part} (product or debug) into bin/.
get_filename_component(name "${file}" NAME)
file(MAKE_DIRECTORY "${folder}")
# The name alone, so that the link to the debug information holds no path.
foreach(arguments "--only-keep-debug;${file};${name}.debug"
                  "--strip-all;--add-gnu-debuglink=${name}.debug;${file};${name}")
  # It would write the present time into the file.
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=0 "${objcopy}" ${arguments}
                  WORKING_DIRECTORY "${folder}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "${objcopy} failed on ${file} (${failed})")
  endif()
endforeach()
if(part STREQUAL debug)
  string(APPEND name .debug)
endif()
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/bin" TYPE FILE FILES "${folder}/${name}")
