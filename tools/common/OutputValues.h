#pragma once

#include <string>

#include "common/PageOutput.h"

namespace host {

// Sets what `name` stands for ("format", "start"; smscan's options without their dashes) from a value as
// people type it. False when a request has nothing of that name. Throws Failure with FailureCode::Usage,
// which says what can be given.
bool setOutputValue(OutputRequest& request, const std::string& name, const std::string& text);

// Where the user names no file.
void chooseDefaultOutput(OutputRequest& request);

}  // namespace host
