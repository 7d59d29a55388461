// What happens around the module while a test runs, in one list and in its order: the operations that the
// manager gets, the messages that the host gets ("XferEnd 0"), the warnings ("! text").
#pragma once

#include "Lines.h"

inline Lines& journal() {
    static Lines lines;
    return lines;
}
