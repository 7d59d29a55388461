#pragma once

#include <string>

#include "smtrace/LineStore.h"

namespace smtrace {

// "12.345 ms" is far more than one reads at a glance: milliseconds with three places, without the unit.
std::wstring milliseconds(Time time);

// "  CloseDS": the text, indented by how deep it stands. Calls and returns are shown by an arrow.
std::wstring shownText(const StoredLine& line);

// One line of a log, in UTF-8 and with its end: time since the line before, process, level, text, place. An
// empty line before a call from the host.
std::string logText(const StoredLine& line);

// A table of the calls, in UTF-8.
std::string statisticsText(const std::vector<MethodStatistics>& methods);

}  // namespace smtrace
