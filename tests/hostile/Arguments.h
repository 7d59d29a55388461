// What the arguments of a host's call are made of, by their types.
#pragma once

#include <scanmodule/scanmodule.h>

#include <cstring>
#include <type_traits>

#include "Dice.h"
#include "GuardedMemory.h"

struct HostDice {
    Dice& dice;
    HWND window;
};

// A number of any value.
template <class Type>
struct Argument {
    Type value;
    explicit Argument(const HostDice& host) {
        if constexpr (std::is_same_v<Type, double>) {
            value = host.dice.inHundred(70) ? host.dice.below(1000) / 7.0 : 0;
            if (host.dice.inHundred(10)) host.dice.fill(&value, sizeof value);
        } else if constexpr (std::is_same_v<Type, SmImageLayout>) {
            host.dice.fill(&value, sizeof value);
        } else {
            value = static_cast<Type>(host.dice.inHundred(60) ? host.dice.below(9) : host.dice.any());
        }
    }
    Type get() { return value; }
};

template <>
struct Argument<HWND> {
    HWND value;
    explicit Argument(const HostDice& host) : value(host.window) {
        constexpr uintptr_t strange[] = {0, 1, 0xDEAD0000};
        if (host.dice.inHundred(5)) value = reinterpret_cast<HWND>(host.dice.pick(strange));
    }
    HWND get() { return value; }
};

// Outputs and records: exactly as large as they are.
template <class Type>
struct Argument<Type*> {
    static constexpr size_t size() {
        if constexpr (std::is_void_v<Type>)
            return 1024;  // the source's own blocks
        else if constexpr (std::is_same_v<Type, char>)
            return SM_NAME_SIZE;
        else
            return sizeof(Type);
    }
    Lent lent{size()};
    explicit Argument(const HostDice& host) { host.dice.fill(lent.data(), size()); }
    Type* get() { return reinterpret_cast<Type*>(lent.data()); }
};

template <>
struct Argument<const PrestoScanSettings*> : Argument<PrestoScanSettings*> {
    bool given;
    explicit Argument(const HostDice& host)
        : Argument<PrestoScanSettings*>(host), given(host.dice.inHundred(80)) {
        auto& settings = *Argument<PrestoScanSettings*>::get();
        settings.ShowUI = settings.ModalUI = host.dice.inHundred(50);
    }
    PrestoScanSettings* get() { return given ? Argument<PrestoScanSettings*>::get() : nullptr; }
};

// Texts of any length, which end with their memory.
template <>
struct Argument<const char*> {
    const uint32_t length;
    Lent lent{length + 1};
    explicit Argument(const HostDice& host) : length(host.dice.below(host.dice.inHundred(80) ? 40 : 600)) {
        std::memset(lent.data(), "aX%\\"[host.dice.below(4)], length);
        if (length == 12 || length == 13) std::memcpy(lent.data(), "Plain Source", 12);
        lent.data()[length] = '\0';
    }
    const char* get() { return reinterpret_cast<const char*>(lent.data()); }
};
