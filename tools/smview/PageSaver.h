#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "smview/PageList.h"

namespace smview {

// Asks for a name and format; empty if the person decides otherwise.
std::wstring askForName(HWND owner, bool severalPages);

// Writes pages to a file of the format that its extension says: all in one where the format can, else one
// file each, with numbers, in place of none that is there. Answers what to tell. Throws Failure; files
// complete by then stay.
std::string savePages(const std::vector<PageList::Page>& pages, const std::wstring& path);

}  // namespace smview
