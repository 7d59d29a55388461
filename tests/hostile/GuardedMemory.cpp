#include "GuardedMemory.h"

#include <algorithm>
#include <cstring>

#include "Watch.h"

GuardedMemory memory;

namespace {

constexpr uint8_t pattern = 0xA5;
constexpr struct {
    size_t count;
    SIZE_T capacity;
} arenas[] = {{160, 0x20000}, {8, 0x200000}};

uint32_t numberOf(HGLOBAL handle) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle));
}

}  // namespace

GuardedMemory::GuardedMemory() {
    for (const auto& arena : arenas) {
        for (size_t i = 0; i < arena.count; ++i) {
            auto* const base = static_cast<uint8_t*>(VirtualAlloc(nullptr, arena.capacity + 2 * pageSize,
                                                                  MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
            blocks_.push_back(
                {base + pageSize, arena.capacity, nullptr, 0, 1, 0, false, false, false, false, Owner::Host});
        }
    }
}

void GuardedMemory::reset(uint64_t seed) {
    dice_ = Dice(~seed);
    for (Block& block : blocks_) {
        if (block.live) protect(block, false);
        block.live = false;
    }
    foreign_.clear();
    next_ = 0;
    allocationsThatFail = locksThatFail = 0;
}

// A handle is no address, and is never used again: generation, then place.
GuardedMemory::Block* GuardedMemory::find(HGLOBAL handle) const {
    const uint32_t place = (numberOf(handle) >> 2 & 0xFF);
    if ((numberOf(handle) & 3) != 2 || place >= blocks_.size()) return nullptr;
    Block& block = blocks_[place];
    return block.live && block.generation == numberOf(handle) >> 10 ? &block : nullptr;
}

void GuardedMemory::protect(Block& block, bool open) {
    DWORD before;
    if (block.open != open && block.size != 0)
        VirtualProtect(block.room, pages(block.size), open ? PAGE_READWRITE : PAGE_NOACCESS, &before);
    block.open = open;
}

HGLOBAL GuardedMemory::allocate(SIZE_T size, Owner owner) {
    if (owner == Owner::Module && dice_.inThousand(allocationsThatFail)) return nullptr;
    for (size_t tried = 0; tried < blocks_.size(); ++tried) {
        next_ = (next_ + 1) % blocks_.size();
        Block& block = blocks_[next_];
        if (block.live || block.capacity < size || (size <= arenas[0].capacity && next_ >= arenas[0].count))
            continue;
        // Against the page behind it, seldom against the one before it.
        const SIZE_T slack = pages(size) - size;
        block.size = size;
        block.data = block.room + (dice_.inHundred(80) ? slack : 0);
        block.generation = (block.generation + 1) & 0x1FFFFF;
        block.locks = 0;
        block.live = true;
        block.lockAllowed = block.lockFailed = false;
        block.owner = owner;
        protect(block, true);
        std::memset(block.data == block.room ? block.data + size : block.room, pattern, slack);
        std::memset(block.data, 0, size);
        return reinterpret_cast<HGLOBAL>(static_cast<uintptr_t>(block.generation << 10 | next_ << 2 | 2));
    }
    return nullptr;
}

void GuardedMemory::checkPattern(const Block& block) const {
    const SIZE_T slack = pages(block.size) - block.size;
    const uint8_t* const from = block.data == block.room ? block.data + block.size : block.room;
    if (std::any_of(from, from + slack, [](uint8_t byte) { return byte != pattern; }))
        fault("wrote beside a block of %u bytes", static_cast<unsigned>(block.size));
}

void GuardedMemory::free(HGLOBAL handle, Owner by) {
    if (handle == nullptr) return;
    Block* const block = find(handle);
    if (block == nullptr) {
        if (foreign_.count(handle) == 0) fault("freed handle %p, which is no block (any more)", handle);
        return;
    }
    if (block->owner != by && by == Owner::Module) fault("freed a block that isn't the module's");
    if (by == Owner::Module && block->locks > (block->lockAllowed ? 1 : 0))
        fault("freed a block that is still locked");
    protect(*block, true);
    checkPattern(*block);
    protect(*block, false);
    block->live = false;
}

void GuardedMemory::freeIfOwned(HGLOBAL handle, Owner by) {
    const Block* const block = find(handle);
    if (block != nullptr && block->owner == by) free(handle, by);
}

uint8_t* GuardedMemory::lock(HGLOBAL handle) {
    Block* const block = find(handle);
    if (block == nullptr || block->size == 0) return nullptr;
    if (block->owner == Owner::Module && dice_.inThousand(locksThatFail)) {
        block->lockFailed = true;
        return nullptr;
    }
    ++block->locks;
    protect(*block, true);
    return block->data;
}

void GuardedMemory::unlock(HGLOBAL handle) {
    Block* const block = find(handle);
    if (block == nullptr) return;
    if (block->locks == 0) {
        if (block->size != 0 && !block->lockFailed) fault("unlocked a block that wasn't locked");
        return;
    }
    if (--block->locks == 0) protect(*block, false);
}

SIZE_T GuardedMemory::size(HGLOBAL handle) const {
    const Block* const block = find(handle);
    return block != nullptr ? block->size : 0;
}

void GuardedMemory::give(HGLOBAL handle, Owner to) {
    if (Block* const block = find(handle)) block->owner = to;
}

void GuardedMemory::allowLock(HGLOBAL handle) {
    if (Block* const block = find(handle)) block->lockAllowed = true;
}

uint32_t GuardedMemory::owned(Owner owner) const {
    return static_cast<uint32_t>(std::count_if(
        blocks_.begin(), blocks_.end(), [owner](const Block& b) { return b.live && b.owner == owner; }));
}

Lent::Lent(SIZE_T size) : handle_(memory.allocate(size, Owner::Host)), data_(memory.lock(handle_)) {
    if (handle_ == nullptr)
        fault(
            "the run itself is out of memory: %u blocks of the module's, %u of the "
            "source's, %u of the host's",
            memory.owned(Owner::Module), memory.owned(Owner::Source), memory.owned(Owner::Host));
}

Lent::~Lent() {
    memory.free(handle_, Owner::Host);
}
