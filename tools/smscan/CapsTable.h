#pragma once

#include <string>
#include <vector>

#include "common/CapsRow.h"

namespace smscan {

// What --caps shows.
std::string capsAsTable(const std::string& source, const std::vector<host::CapsRow>& rows);

}  // namespace smscan
