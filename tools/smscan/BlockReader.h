#pragma once

#include <functional>
#include <string>

#include "ModuleLibrary.h"
#include "PageImage.h"

namespace smscan {

// Pulls the page that is ready block by block and writes it to a file, told of the rows that have come. Stops
// without a complete file when cancelRequested(). Throws Failure.
DibFacts readPageByBlocks(const ModuleLibrary& module, const PageImage& image, int sourceBits, int height,
                          const std::string& path, const std::function<void(int rows)>& onRows);

}  // namespace smscan
