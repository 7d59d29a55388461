#pragma once

#include <string>
#include <vector>

#include "common/ModuleLibrary.h"

namespace host {

struct SourceList {
    std::vector<std::string> names;
    std::string defaultName;
};

// Throws Failure with FailureCode::NoManager and what was tried.
void requireManager(const ModuleLibrary& module);

// Throws Failure with an explanation when there are none.
SourceList listSources(const ModuleLibrary& module, HWND parent);

// Choose what the next open opens: the user, in the manager's dialog, or a name. Throw Failure.
void chooseByDialog(const ModuleLibrary& module, HWND parent);
void chooseByName(const ModuleLibrary& module, HWND parent, const std::string& name);

// Makes a source the default one and answers the name that the manager knows it by. Throws Failure.
std::string makeDefault(const ModuleLibrary& module, HWND parent, const std::string& name);

// Why there is no source, and what to do.
std::string explainNoSource(int result, const std::string& defaultSource);

std::string productName(const ModuleLibrary& module);

}  // namespace host
