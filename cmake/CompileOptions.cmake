# Options every target of the project shares. The target "project_options" carries them; its real name is one that
# doesn't clash with a target of the tree that this one is added to.
add_library(scanmodule_options INTERFACE)
if(PROJECT_IS_TOP_LEVEL)
  add_library(project_options ALIAS scanmodule_options)
endif()
target_compile_features(scanmodule_options INTERFACE cxx_std_17)
target_include_directories(scanmodule_options INTERFACE ${PROJECT_SOURCE_DIR}/include
                                                        ${PROJECT_BINARY_DIR}/generated)
target_compile_definitions(scanmodule_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX
                                                        _WIN32_WINNT=0x0501)

# What most files of the programs and tests include, for target_precompile_headers. The DLL, whose files are small,
# is built without, and so is everything in the preset mingw32-debug: there each file shows that it includes what it
# uses.
set(COMMON_HEADERS <windows.h> <algorithm> <cstdint> <cstdio> <cstring> <functional> <memory> <optional> <string>
                   <vector>)

if(MSVC)
  # SSE2 arithmetic: x87's extra precision changes unit conversions (300 dpi would read back as 299).
  # Trimming keeps trace lines free of the builder's paths; it compares with the path as MSBuild writes it.
  file(TO_NATIVE_PATH "${PROJECT_SOURCE_DIR}/" source_dir_native)
  target_compile_options(scanmodule_options INTERFACE /W4 /utf-8 /arch:SSE2
                                                      "/d1trimfile:${source_dir_native}"
                                                      $<$<CONFIG:Release>:/Zi>)
  # The program database stands beside each binary; /DEBUG alone would keep what nobody calls. /Brepro and
  # /PDBALTPATH: nothing of the build's time and place.
  target_link_options(scanmodule_options INTERFACE
                      "$<$<CONFIG:Release>:/DEBUG;/OPT:REF;/OPT:ICF;/INCREMENTAL:NO;/Brepro;/PDBALTPATH:%_PDB%>")
  # The standard C functions are meant, not Microsoft's replacements.
  target_compile_definitions(scanmodule_options INTERFACE _CRT_SECURE_NO_WARNINGS)
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  set(warnings_are_errors /WX)
else()
  # SSE2 arithmetic: x87's extra precision changes unit conversions (300 dpi would read back as 299).
  # The prefix maps keep trace lines and binaries free of the builder's paths.
  # -g1: functions and lines for backtraces; what is installed is stripped of them (InstallProduct.cmake).
  target_compile_options(
    scanmodule_options INTERFACE -Wall -Wextra -msse2 -mfpmath=sse
                                 -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
                                 -fdebug-prefix-map=${PROJECT_BINARY_DIR}=build
                                 $<$<CONFIG:Release>:-g1>)
  # -static: programs and the DLL need nothing but Windows' own libraries.
  # --disable-stdcall-fixup: an export whose argument bytes differ from the .def is an error, not a guess.
  # --no-insert-timestamp: the same sources make the same files.
  target_link_options(scanmodule_options INTERFACE -static
                      -Wl,--disable-stdcall-fixup,--no-insert-timestamp)
  set(warnings_are_errors -Werror)
endif()
if(PROJECT_IS_TOP_LEVEL)
  target_compile_options(scanmodule_options INTERFACE ${warnings_are_errors})
endif()
