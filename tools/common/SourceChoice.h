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

// Choose what the next open opens: the user, in the manager's dialog, or a name, a part of it that no other
// source has, or a number in the list. The latter answers the name. Throw Failure.
void chooseByDialog(const ModuleLibrary& module, HWND parent);
std::string chooseByName(const ModuleLibrary& module, HWND parent, const std::string& text);

// Which of the names is meant: by its number from 1 on, or by a part of it, in any case. Throws Failure with
// FailureCode::NoSource when none is, or several.
const std::string& findSource(const std::vector<std::string>& names, const std::string& text);

// The maker's own sources, which know more than others. No source may be open.
std::vector<std::string> makersSources(const ModuleLibrary& module);

// Makes a source, named as for chooseByName, the default one and answers its name. Throws Failure.
std::string makeDefault(const ModuleLibrary& module, HWND parent, const std::string& text);

// Why there is no source, and what to do.
std::string explainNoSource(int result, const std::string& defaultSource);

std::string productName(const ModuleLibrary& module);

}  // namespace host
