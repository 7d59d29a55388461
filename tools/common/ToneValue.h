#pragma once

#include <scanmodule/scanmodule.h>

namespace host {

using ToneGetter = int(WINAPI*)(short* value, short scaleMin, short scaleMax);

// A tone on the scale from lowest to highest. Asked for on a scale that starts at 0, because the module's
// getters round negative numbers up to the next one.
inline int readTone(ToneGetter get, int lowest, int highest, int* value) {
    short above = 0;
    const int result = get(&above, 0, static_cast<short>(highest - lowest));
    *value = above + lowest;
    return result;
}

}  // namespace host
