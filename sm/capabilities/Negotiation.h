// The shape that nearly all getters and setters share, and the small descriptors that say what is particular
// to one method.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "capabilities/Containers.h"
#include "link/Link.h"

// A constant list of TWAIN codes, tried in its order.
class CodeList {
public:
    template <size_t count>
    constexpr CodeList(const TW_UINT16 (&codes)[count]) : begin_(codes), end_(codes + count) {}
    constexpr const TW_UINT16* begin() const { return begin_; }
    constexpr const TW_UINT16* end() const { return end_; }

private:
    const TW_UINT16* begin_;
    const TW_UINT16* end_;
};

// Item types a setter tries until the source takes one.
constexpr TW_UINT16 booleanTypes[] = {TWTY_BOOL, TWTY_UINT16, TWTY_INT16};
constexpr TW_UINT16 enumeratedTypes[] = {TWTY_UINT16, TWTY_INT16, TWTY_BOOL};
constexpr TW_UINT16 countTypes[] = {TWTY_INT16, TWTY_UINT16, TWTY_BOOL};
constexpr TW_UINT16 uint16Type[] = {TWTY_UINT16};
constexpr TW_UINT16 fix32Type[] = {TWTY_FIX32};

// Messages a getter tries until one yields a value.
constexpr TW_UINT16 currentThenAll[] = {MSG_GETCURRENT, MSG_GET};
constexpr TW_UINT16 allThenCurrent[] = {MSG_GET, MSG_GETCURRENT};
constexpr TW_UINT16 getOnly[] = {MSG_GET};

// Container kinds a getter reads, as bits.
enum ContainerKinds : unsigned { OneValue = 1, EnumCurrent = 2, RangeCurrent = 4 };

constexpr char buildReturnsFailure[] = "BuildupOneValue returns failure";
// Kept: some setters say it this way, and log readers search for it.
constexpr char buildReturnFailure[] = "BuildupOneValue return failure";

struct Setter {
    TW_UINT16 capability;
    CodeList itemTypes;
    const char* buildFailure = buildReturnsFailure;
};

struct Getter {
    TW_UINT16 capability;
    CodeList messages;
    unsigned containers;
};

// From a source's value to what the method gives.
using Conversion = uint16_t (*)(TW_UINT32 value);
inline uint16_t asGiven(TW_UINT32 value) {
    return static_cast<uint16_t>(value);
}

// Pixel types, paper sizes and units are one-bit codes for the host: 1 << value.
constexpr TW_UINT16 lastCodedValue = 8;
// The value behind such a code; what is none is sent as given.
TW_UINT16 valueOfCode(uint16_t code);

// What came of asking for a value. A refused question may carry the condition code 0, so the result alone
// doesn't tell whether there is a value.
struct SourceValue {
    int32_t result = 0;
    std::optional<TW_UINT32> value;  // raw bits
};

// The module's code (SmXferMech) of a TWSX_ value; what is neither native nor file counts as memory.
uint16_t mechanismCode(TW_UINT32 mechanism);

// How reading one container went: with the codec's result, or not at all, because the method doesn't handle
// this kind of container.
class Reading {
public:
    Reading(TW_UINT16 code) : code_(code) {}
    static Reading unhandled() { return {}; }

    bool handled() const { return handled_; }
    bool succeeded() const { return handled_ && code_ == TWCC_SUCCESS; }
    TW_UINT16 code() const { return code_; }

private:
    Reading() : code_(TWCC_BADVALUE), handled_(false) {}

    TW_UINT16 code_;
    bool handled_ = true;
};

// The single value of a container of one of the given kinds, as raw bits.
Reading readValue(const LockedContainer& container, unsigned kinds, TW_UINT32& value);

// Hands every item of an enumeration to `take` (raw bits), in the list's order. Stops where the list can't be
// read.
template <class Taker>
TW_UINT16 forEachItem(const LockedContainer& container, Taker take) {
    TW_UINT32 count;
    TW_UINT16 failure = ExtractEnumerationNumItems(container, &count);
    for (TW_UINT32 index = 0; failure == TWCC_SUCCESS && index < count; ++index) {
        TW_UINT32 item;
        failure = ExtractEnumerationValue(container, &item, static_cast<int32_t>(index));
        if (failure == TWCC_SUCCESS) take(item);
    }
    return failure;
}

// The smallest and largest item of an enumeration, taken as FIX32. Untouched when the list can't be read.
struct Bounds {
    double min;
    double max;
};
TW_UINT16 readEnumerationBounds(const LockedContainer& container, Bounds& bounds);

// One field of a range, taken as FIX32 whatever the container's item type says.
TW_UINT16 readRangeField(const LockedContainer& container, RangeField field, double& value);

// Exchanges containers with the source, and remembers the transfer mechanism that was last set this way.
class Negotiation {
public:
    explicit Negotiation(Link& link);

    // One exchange; the return code of DSM_Entry. Kept: its lines name the export, TScanModule::CapNegotiate.
    TW_UINT16 exchange(TW_UINT16 message, TW_CAPABILITY& cap);
    // A code of SmXferMech.
    uint16_t mechanism() const { return mechanism_; }
    Link& link() const { return link_; }

    // The common setter, and the same without its checks.
    int32_t set(const Caller& caller, const Setter& setter, double value);
    int32_t send(const Caller& caller, const Setter& setter, double value);
    // MSG_SET of a container built by the caller, which is then freed. True when the source took it; the
    // result of a refusal may be 0, too.
    bool sendContainer(const Caller& caller, TW_CAPABILITY& cap, int32_t& result);
    // A list of those of the values 0 to lastCodedValue whose codes are given.
    int32_t setSupported(const Caller& caller, TW_UINT16 capability, uint16_t codes, uint16_t presentCode);

    // The common getter. The output holds the value, converted to what the method gives; it is untouched when
    // no message yields one.
    int32_t get(const Caller& caller, const Getter& getter, uint16_t* value, Conversion convert = asGiven);
    // The raw value, without any checks.
    SourceValue ask(const Caller& caller, const Getter& getter);
    int32_t getSupported(const Caller& caller, TW_UINT16 capability, uint16_t* codes);
    // Asks message by message until `read` (Reading(const LockedContainer&)) gets a value; `missed` runs
    // after each attempt that yields none. The result is that of the last attempt.
    template <class Reader, class Missed>
    int32_t askEach(const Caller& caller, TW_UINT16 capability, CodeList messages, Reader read,
                    Missed missed) {
        int32_t result = 0;
        for (const TW_UINT16 message : messages) {
            TW_CAPABILITY cap = {capability, TWON_DONTCARE16, nullptr};
            if (exchange(message, cap) != TWRC_SUCCESS) {
                caller.warn("CapNegotiate returns failure");
                result = link_.conditionCode();
            } else {
                const ContainerOwner owner{cap};
                const Reading reading = read(cap);
                if (reading.succeeded()) return 0;
                if (!reading.handled()) caller.warn("Invalid container type");
                result = reading.code();
            }
            missed();
        }
        return result;
    }
    template <class Reader>
    int32_t askEach(const Caller& caller, TW_UINT16 capability, CodeList messages, Reader read) {
        return askEach(caller, capability, messages, read, [] {});
    }

private:
    void recordMechanism(const TW_CAPABILITY& cap);

    Link& link_;
    uint16_t mechanism_;
};
