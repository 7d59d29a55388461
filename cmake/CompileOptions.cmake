# Options every target of the project shares. The target "project_options" carries them.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_17)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR}/include
                                                     ${PROJECT_BINARY_DIR}/generated)
target_compile_definitions(project_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX
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
  target_compile_options(project_options INTERFACE /W4 /WX /utf-8 /arch:SSE2
                                                   "/d1trimfile:${source_dir_native}")
  # The standard C functions are meant, not Microsoft's replacements.
  target_compile_definitions(project_options INTERFACE _CRT_SECURE_NO_WARNINGS)
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
else()
  # SSE2 arithmetic: x87's extra precision changes unit conversions (300 dpi would read back as 299).
  # The prefix map keeps trace lines and binaries free of the builder's paths.
  target_compile_options(
    project_options INTERFACE -Wall -Wextra -Werror -msse2 -mfpmath=sse
                              -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
  # -static: programs and the DLL need nothing but Windows' own libraries.
  # --disable-stdcall-fixup: an export whose argument bytes differ from the .def is an error, not a guess.
  target_link_options(project_options INTERFACE -static -Wl,--disable-stdcall-fixup)
endif()
