// Global memory as a run sees it, module, source and host alike. Every block lies against a page that nobody
// may touch, with a pattern on its other side; it can be touched only while it is locked, and never again
// once it is freed. Each has an owner, so that what is lost, freed twice or not one's own comes to light.
#pragma once

#include <windows.h>

#include <cstdint>
#include <set>
#include <vector>

#include "Dice.h"

enum class Owner { Source, Module, Host };

class GuardedMemory {
public:
    GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    // A new run: everything is free.
    void reset(uint64_t seed);

    HGLOBAL allocate(SIZE_T size, Owner owner);
    void free(HGLOBAL handle, Owner by);
    void freeIfOwned(HGLOBAL handle, Owner by);
    // Null for what is no block and for blocks without a byte, as Windows does.
    uint8_t* lock(HGLOBAL handle);
    void unlock(HGLOBAL handle);
    SIZE_T size(HGLOBAL handle) const;
    bool isLive(HGLOBAL handle) const { return find(handle) != nullptr; }
    void give(HGLOBAL handle, Owner to);
    // The module may be left with a lock on it: a DIB that it wrote to a file.
    void allowLock(HGLOBAL handle);
    // The source passes something that is no block (any more): freeing it is no fault of the module's.
    void expectForeign(HGLOBAL handle) { foreign_.insert(handle); }
    uint32_t owned(Owner owner) const;

    uint32_t allocationsThatFail = 0;  // in a thousand
    uint32_t locksThatFail = 0;

private:
    struct Block {
        uint8_t* room;  // between two pages that nobody may touch
        SIZE_T capacity;
        uint8_t* data;
        SIZE_T size;
        uint32_t generation;
        int locks;
        bool live, open, lockAllowed, lockFailed;
        Owner owner;
    };

    Block* find(HGLOBAL handle) const;
    void protect(Block& block, bool open);
    void checkPattern(const Block& block) const;
    SIZE_T pages(SIZE_T size) const { return (size + pageSize - 1) / pageSize * pageSize; }

    static constexpr SIZE_T pageSize = 4096;
    mutable std::vector<Block> blocks_;
    size_t next_ = 0;
    std::set<HGLOBAL> foreign_;
    Dice dice_{0};
};
extern GuardedMemory memory;

// Memory of the host's that a call is given: nobody may touch it afterwards.
class Lent {
public:
    explicit Lent(SIZE_T size);
    ~Lent();
    Lent(const Lent&) = delete;
    Lent& operator=(const Lent&) = delete;
    uint8_t* data() const { return data_; }

private:
    HGLOBAL handle_;
    uint8_t* data_;
};
