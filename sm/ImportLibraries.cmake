# The import libraries, for hosts that link instead of loading. Compilers ask for decorated names (_smOpenDS@8) while
# the DLL's own are undecorated, so the one that the linker makes is of no use and is replaced. All are made from the
# list of exports:
#   libScanModule.dll.a   MinGW, by name
#   ScanModule.lib        Microsoft's linker, whose librarian can't strip decorations: by ordinal
file(STRINGS ScanModule.def.in export_lines REGEX "@[0-9]+ @[0-9]+")
set(by_name "LIBRARY ScanModule.dll\nEXPORTS\n")
set(by_ordinal "${by_name}")
foreach(line IN LISTS export_lines)
  if(NOT line MATCHES "^ *([A-Za-z0-9]+)=@STDCALL_PREFIX@[A-Za-z0-9]+(@[0-9]+) (@[0-9]+)$")
    message(FATAL_ERROR "Not an export: ${line}")
  endif()
  string(APPEND by_name "    ${CMAKE_MATCH_1}${CMAKE_MATCH_2} ${CMAKE_MATCH_3}\n")
  # Microsoft's librarian puts the leading underscore itself, LLVM's linker doesn't.
  set(underscore "")
  if(NOT MSVC)
    set(underscore "_")
  endif()
  string(APPEND by_ordinal "    ${underscore}${CMAKE_MATCH_1}${CMAKE_MATCH_2} ${CMAKE_MATCH_3} NONAME\n")
endforeach()
set(names_def ${CMAKE_CURRENT_BINARY_DIR}/ScanModule.names.def)
set(ordinals_def ${CMAKE_CURRENT_BINARY_DIR}/ScanModule.ordinals.def)
file(CONFIGURE OUTPUT ${names_def} CONTENT "${by_name}" @ONLY)
file(CONFIGURE OUTPUT ${ordinals_def} CONTENT "${by_ordinal}" @ONLY)
set_property(TARGET ScanModule APPEND PROPERTY LINK_DEPENDS ${names_def} ${ordinals_def})

# dlltool makes symbols of the name it is given for the library, and of its temporary files': both without a folder.
set(import_library $<TARGET_LINKER_FILE_NAME:ScanModule>)
if(MSVC)
  set(commands COMMAND ${CMAKE_AR} /nologo /machine:x86 /def:${ordinals_def} /out:${import_library})
else()
  set(commands COMMAND ${CMAKE_DLLTOOL} --kill-at --temp-prefix ScanModule -d ${names_def} -l ${import_library})
  # Only packages need the other compiler's library (scripts/package.sh installs this linker).
  find_program(LLD_LINK NAMES lld-link-14 lld-link)
  mark_as_advanced(LLD_LINK)
  if(LLD_LINK)
    list(APPEND commands COMMAND ${LLD_LINK} -machine:x86 -def:${ordinals_def} -out:ScanModule.lib)
  endif()
endif()
add_custom_command(
  TARGET ScanModule
  POST_BUILD ${commands}
  WORKING_DIRECTORY $<TARGET_LINKER_FILE_DIR:ScanModule>
  VERBATIM)
