#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ModuleLibrary.h"
#include "PageImage.h"

namespace smscan {

// Pulls the page that is ready block by block and writes it to a file, told of the rows that have come. The
// writer that it returns is still to be finished; after cancelRequested() the page isn't whole. Throws
// Failure.
std::unique_ptr<StripWriter> readPageByBlocks(const ModuleLibrary& module, const PageImage& image,
                                              int sourceBits, int height, const std::string& path,
                                              const std::function<void(int rows)>& onRows);

}  // namespace smscan
