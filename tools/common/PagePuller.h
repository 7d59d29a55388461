#pragma once

#include <functional>
#include <memory>
#include <string>

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/PageImage.h"

namespace host {

// Pulls the page that is ready block by block and writes it to a file, told of the rows that have come. The
// writer that it returns is still to be finished; when the window was cancelled the page isn't whole. Throws
// Failure.
std::unique_ptr<StripWriter> pullPage(const ModuleLibrary& module, const HostWindow& window,
                                      const PageImage& image, int sourceBits, int height,
                                      const std::string& path, const std::function<void(int rows)>& onRows);

}  // namespace host
