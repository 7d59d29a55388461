#include "smtrace/Senders.h"

#include <tlhelp32.h>

#include "windows/Handle.h"

namespace smtrace {

namespace {

bool hasModuleLoaded(DWORD process) {
    const gui::Handle modules = gui::owned(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, process));
    if (!modules) return false;
    MODULEENTRY32W module;
    module.dwSize = sizeof module;
    for (BOOL more = Module32FirstW(modules.get(), &module); more;
         more = Module32NextW(modules.get(), &module))
        if (lstrcmpiW(module.szModule, L"ScanModule.dll") == 0) return true;
    return false;
}

bool seesMappingAt(DWORD process, LPARAM address) {
    const gui::Handle opened = gui::owned(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, process));
    if (!opened) return false;
    MEMORY_BASIC_INFORMATION memory;
    return VirtualQueryEx(opened.get(), reinterpret_cast<void*>(address), &memory, sizeof memory) != 0 &&
           memory.Type == MEM_MAPPED && memory.AllocationBase == reinterpret_cast<void*>(address);
}

}  // namespace

DWORD Senders::processAt(LPARAM address, bool anew) {
    if (anew || owners_.count(address) == 0) search(address);
    return owners_[address];
}

void Senders::search(LPARAM address) {
    DWORD& owner = owners_[address];
    owner = 0;
    const gui::Handle processes = gui::owned(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!processes) return;
    PROCESSENTRY32W process;
    process.dwSize = sizeof process;
    for (BOOL more = Process32FirstW(processes.get(), &process); more;
         more = Process32NextW(processes.get(), &process)) {
        const DWORD id = process.th32ProcessID;
        if (id == GetCurrentProcessId() || !seesMappingAt(id, address) || !hasModuleLoaded(id)) continue;
        {
            const gui::CriticalSection::Hold hold(namesSection_);
            names_[id] = process.szExeFile;
        }
        if (owner != 0) {
            owner = 0;
            return;
        }
        owner = id;
    }
}

std::wstring Senders::nameOf(DWORD process) const {
    const gui::CriticalSection::Hold hold(namesSection_);
    const auto found = names_.find(process);
    return found == names_.end() ? std::wstring() : found->second;
}

}  // namespace smtrace
