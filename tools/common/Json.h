#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/CapsRow.h"
#include "common/ScanListener.h"

namespace host {

// What programs are told, in the order in which it is put together.
using Json = nlohmann::ordered_json;

Json sourceJson(int number, const std::string& name, bool isDefault);
Json capsJson(const std::string& source, const std::vector<CapsRow>& rows);
Json pageJson(const ScannedPage& page);

// On one line, in UTF-8, without an end of line.
std::string jsonLine(const Json& json);

}  // namespace host
