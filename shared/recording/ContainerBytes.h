// Capability containers as bytes: what they claim to hold, and what may go into a recording.
#pragma once

#include <scanmodule/twain_types.h>

#include <optional>

#include "recording/Recording.h"

namespace recording {

// A value with its type.
struct Item {
    TW_UINT16 type = 0;
    Bytes bytes;
};
// Numbers are compared as numbers, whatever their types.
bool sameItem(const Item& a, const Item& b);

// One container; a list that claims more than its bytes is as long as they are.
struct Container {
    TW_UINT16 kind = 0;
    Bytes bytes;

    // The value that counts now; none in an array or where the container holds none.
    std::optional<Item> current() const;
    std::optional<Item> standard() const;
    // Is the value among those listed, or inside the range?
    bool offers(const Item& item) const;
    // Makes it the current value; false where the container has no place for it.
    bool setCurrent(const Item& item);
    // Bytes that the container claims; 0 for a kind or type that is none of the standard's.
    std::size_t claimed() const;
};
Container oneValueOf(const Item& item);

// What may be written of a source's container: no bytes behind its end, beside a short item or behind a
// text's terminator, and no texts that name a device or a person.
Bytes presentable(TW_UINT16 capability, const Container& container);

// A text's bytes with what follows its terminator zeroed.
void cutText(std::uint8_t* text, std::size_t room);

}  // namespace recording
