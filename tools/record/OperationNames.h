#pragma once

#include <string>

#include "recording/Recording.h"

namespace record {

// "DG_CONTROL DAT_CAPABILITY MSG_GET ICAP_UNITS": the names of what has one, for readers of a recording.
// `data` is the operation's record.
std::string operationNames(const recording::Triplet& triplet, const recording::Bytes& data);

}  // namespace record
