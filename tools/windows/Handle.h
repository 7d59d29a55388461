#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace gui {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
// Empty for what Windows gives in place of a handle that it can't make, of whichever of the two values.
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;
inline Handle owned(HANDLE handle) {
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

}  // namespace gui
