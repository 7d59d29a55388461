# Looks for what the tests include of other projects: doctest, the framework, and stb, the decoder that checks
# written files. Both are single headers of the build machine; their own folders are taken, never /usr/include,
# where the cross compiler would find the headers of another system.
find_path(DOCTEST_INCLUDE_DIR doctest.h
          PATHS /usr/include/doctest /usr/local/include/doctest
          PATH_SUFFIXES doctest
          NO_CMAKE_FIND_ROOT_PATH)
find_path(STB_INCLUDE_DIR stb_image.h
          PATHS /usr/include/stb /usr/local/include/stb
          PATH_SUFFIXES stb
          NO_CMAKE_FIND_ROOT_PATH)
