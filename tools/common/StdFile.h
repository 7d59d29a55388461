#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "common/TextEncoding.h"

namespace host {

// A file of the C library's, closed when it goes.
using StdFile = std::unique_ptr<FILE, int (*)(FILE*)>;

inline StdFile openFile(const std::string& path, const wchar_t* mode) {
    return {_wfopen(wide(path).c_str(), mode), std::fclose};
}

}  // namespace host
