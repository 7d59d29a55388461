#include "ModuleCalls.h"

#include <algorithm>
#include <cstring>

#include "LoadedImage.h"

namespace {

ModuleCalls* current = nullptr;

bool isSwitchFile(const std::string& path) {
    return path.find("DEBUGSM.INI") != std::string::npos;
}

}  // namespace

// The functions that take the place of Windows' own in the module's import table.
struct ModuleCallsHooks {
    static HGLOBAL WINAPI globalAlloc(UINT flags, SIZE_T size) {
        current->allocations.push_back(size);
        if (size >= current->largestAllocation) return nullptr;
        const HGLOBAL block = GlobalAlloc(flags, size);
        if (block != nullptr) current->owned_[block] = 0;
        return block;
    }

    static HGLOBAL WINAPI globalFree(HGLOBAL block) {
        if (block == nullptr) return nullptr;
        const auto found = current->owned_.find(block);
        if (found == current->owned_.end()) {
            current->memoryFaults_.push_back("freed a block that isn't the module's (any more)");
            return block;
        }
        current->owned_.erase(found);
        return GlobalFree(block);
    }

    static LPVOID WINAPI globalLock(HGLOBAL block) {
        if (current->locksThatSucceed <= 0) return nullptr;
        --current->locksThatSucceed;
        void* const pointer = GlobalLock(block);
        const auto found = current->owned_.find(block);
        if (pointer == nullptr || found == current->owned_.end()) return pointer;
        ++found->second;
        return current->guardBlocks ? current->lockGuarded(block) : pointer;
    }

    static BOOL WINAPI globalUnlock(HGLOBAL block) {
        const auto found = current->owned_.find(block);
        if (found != current->owned_.end() && --found->second < 0)
            current->memoryFaults_.push_back("unlocked a block that wasn't locked");
        current->unlockGuarded(block);
        return GlobalUnlock(block);
    }

    static int WINAPI messageBox(HWND owner, LPCSTR message, LPCSTR caption, UINT style) {
        journal.push_back("box " + std::string(message) + " | " + (caption != nullptr ? caption : "(null)") +
                          " | " + std::to_string(style) + (owner == GetFocus() ? "" : " | not of the focus"));
        return current->messageBoxAnswer;
    }

    static UINT WINAPI registerWindowMessage(LPCSTR name) {
        return current->messagesThatCannotRegister.count(name) != 0 ? 0 : RegisterWindowMessageA(name);
    }

    // Writing nothing ends the file at its position.
    static UINT WINAPI writeFile(HFILE file, LPCSTR bytes, UINT size) {
        const size_t wanted = size != 0 ? size : static_cast<size_t>(_llseek(file, 0, FILE_CURRENT));
        const auto fitting = static_cast<UINT>(std::min<size_t>(wanted, current->diskRoom));
        if (current->diskRoom != ~size_t{0}) current->diskRoom -= fitting;
        if (size == 0 && fitting < wanted && !current->diskIsSparse) return static_cast<UINT>(HFILE_ERROR);
        if (size == 0) return _lwrite(file, bytes, 0);
        return fitting == 0 && size != 0 ? static_cast<UINT>(HFILE_ERROR) : _lwrite(file, bytes, fitting);
    }

    static HFILE WINAPI closeFile(HFILE file) {
        ++current->filesClosed;
        return _lclose(file);
    }

    static BOOL WINAPI getDiskFreeSpace(LPCSTR root, LPDWORD sectorsPerCluster, LPDWORD bytesPerSector,
                                        LPDWORD freeClusters, LPDWORD clusters) {
        current->diskAsked = root;
        const DiskSpace& space = current->freeDiskSpace;
        *sectorsPerCluster = space.sectorsPerCluster;
        *bytesPerSector = space.bytesPerSector;
        *freeClusters = space.freeClusters;
        *clusters = ~DWORD{0};
        return current->diskSaysNothing ? FALSE : TRUE;
    }

    static BOOL WINAPI getDiskFreeSpaceEx(LPCSTR folder, PULARGE_INTEGER available, PULARGE_INTEGER,
                                          PULARGE_INTEGER) {
        current->folderAsked = folder != nullptr ? folder : "";
        available->QuadPart = current->diskIsSparse ? current->diskRoom : ~ULONGLONG{0};
        return current->diskSaysNothing ? FALSE : TRUE;
    }

    static UINT WINAPI getPrivateProfileInt(LPCSTR section, LPCSTR key, INT fallback, LPCSTR file) {
        if (current->switchesOff) return 0;
        current->profileCalls.push_back(std::string("read ") + section + " " + key + " of " + file);
        if (!current->traceSwitches || !isSwitchFile(file))
            return GetPrivateProfileIntA(section, key, fallback, file);
        const auto found = current->traceSwitches->find(key);
        return found != current->traceSwitches->end() ? found->second : static_cast<UINT>(fallback);
    }

    static HFILE WINAPI openFile(LPCSTR path, LPOFSTRUCT facts, UINT style) {
        current->profileCalls.push_back(std::string("open ") + path);
        return current->traceSwitches ? 0 : OpenFile(path, facts, style);
    }

    static HMODULE WINAPI loadLibrary(LPCSTR path) {
        current->libraryCalls.push_back(std::string("load ") + path);
        return LoadLibraryA(path);
    }

    static BOOL WINAPI freeLibrary(HMODULE library) {
        current->libraryCalls.push_back("free");
        return FreeLibrary(library);
    }
};

namespace {

template <class Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

const std::map<std::string, void*> hooks = {
    {"GlobalAlloc", address(ModuleCallsHooks::globalAlloc)},
    {"GlobalFree", address(ModuleCallsHooks::globalFree)},
    {"GlobalLock", address(ModuleCallsHooks::globalLock)},
    {"GlobalUnlock", address(ModuleCallsHooks::globalUnlock)},
    {"MessageBoxA", address(ModuleCallsHooks::messageBox)},
    {"RegisterWindowMessageA", address(ModuleCallsHooks::registerWindowMessage)},
    {"GetPrivateProfileIntA", address(ModuleCallsHooks::getPrivateProfileInt)},
    {"OpenFile", address(ModuleCallsHooks::openFile)},
    {"_lwrite", address(ModuleCallsHooks::writeFile)},
    {"_lclose", address(ModuleCallsHooks::closeFile)},
    {"GetDiskFreeSpaceExA", address(ModuleCallsHooks::getDiskFreeSpaceEx)},
    {"GetDiskFreeSpaceA", address(ModuleCallsHooks::getDiskFreeSpace)},
    {"LoadLibraryA", address(ModuleCallsHooks::loadLibrary)},
    {"FreeLibrary", address(ModuleCallsHooks::freeLibrary)},
};

void replace(void** slot, void* replacement) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = replacement;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

}  // namespace

ModuleCalls::ModuleCalls(std::optional<Switches> switches) : traceSwitches(std::move(switches)) {
    current = this;
}
ModuleCalls::~ModuleCalls() {
    current = nullptr;
}

void ModuleCalls::attachTo(HMODULE module) {
    if (current == nullptr) return;
    forEachImport(module, [](const char*, const char* name, void** slot) {
        if (const auto hook = hooks.find(name); hook != hooks.end()) replace(slot, hook->second);
    });
}

void ModuleCalls::adopt(HGLOBAL block) {
    if (current != nullptr && block != nullptr) current->owned_[block] = 0;
}

// The block itself is locked by the caller.
void* ModuleCalls::lockGuarded(HGLOBAL block) {
    auto& guarded = guarded_[block];
    if (!guarded) {
        guarded = std::make_unique<GuardedBuffer>(GlobalSize(block));
        std::memcpy(guarded->data(), GlobalLock(block), guarded->size());
        GlobalUnlock(block);
    }
    return guarded->data();
}

void ModuleCalls::unlockGuarded(HGLOBAL block) {
    const auto found = guarded_.find(block);
    if (found == guarded_.end()) return;
    std::memcpy(GlobalLock(block), found->second->data(), found->second->size());
    GlobalUnlock(block);
    guarded_.erase(found);
}

void ModuleCalls::forgetMemory() {
    owned_.clear();
    memoryFaults_.clear();
}

Lines ModuleCalls::memoryComplaints() const {
    Lines complaints = memoryFaults_;
    for (const auto& [block, locks] : owned_)
        complaints.push_back(locks == 0 ? "a block was not freed" : "a block was left locked and not freed");
    return complaints;
}
