#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace host {

// A file of the C library's, closed when it goes.
using StdFile = std::unique_ptr<FILE, int (*)(FILE*)>;

inline StdFile openFile(const std::string& path, const char* mode) {
    return {std::fopen(path.c_str(), mode), std::fclose};
}

}  // namespace host
