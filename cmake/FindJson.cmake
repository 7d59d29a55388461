# The target "json": nlohmann's headers, which read and write JSON. They are headers of the build machine; on
# Debian they lie in /usr/include, where the cross compiler would find those of another system: a folder of our
# own that leads to them is taken instead.
find_path(JSON_INCLUDE_DIR nlohmann/json.hpp
          PATHS /usr/include /usr/local/include
          NO_CMAKE_FIND_ROOT_PATH)
if(NOT JSON_INCLUDE_DIR)
  message(FATAL_ERROR "nlohmann/json.hpp was not found. Install nlohmann-json3-dev (Debian) or nlohmann-json (vcpkg), "
                      "or name its folder with -DJSON_INCLUDE_DIR=...")
endif()
set(json_dir ${JSON_INCLUDE_DIR})
if(CMAKE_CROSSCOMPILING)
  set(json_dir ${PROJECT_BINARY_DIR}/generated/json)
  file(MAKE_DIRECTORY ${json_dir})
  file(CREATE_LINK ${JSON_INCLUDE_DIR}/nlohmann ${json_dir}/nlohmann SYMBOLIC)
endif()
add_library(json INTERFACE)
target_include_directories(json SYSTEM INTERFACE ${json_dir})
