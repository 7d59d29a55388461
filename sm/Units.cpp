#include "Units.h"

#include <scanmodule/twain_types.h>

namespace {

// Kept: dots per inch are multiplied by 2.54 for centimetres, not divided; setter and getter are each other's
// inverse, and hosts rely on the numbers. The transfer records use the shorter factor 0.3937.
constexpr UnitFactors table[] = {
    {unitInches, 1.0, 1.0, 1.0},
    {unitCentimeters, 2.54, 0.39370078740157477, 0.3937},
    {unitPicas, 6.0, 1.0 / 6.0, 1.0 / 6.0},
    {unitPoints, 72.0, 1.0 / 72.0, 1.0 / 72.0},
    {unitTwips, 1440.0, 1.0 / 1440.0, 1.0 / 1440.0},
    {unitPixels, 1.0, 1.0, 1.0},
};

}  // namespace

uint16_t unitCodeOf(uint32_t twainUnit) {
    return twainUnit <= TWUN_PIXELS ? table[twainUnit].code : unitInches;
}

const UnitFactors& factorsOf(uint16_t unitCode) {
    for (const UnitFactors& factors : table) {
        if (factors.code == unitCode) return factors;
    }
    return table[0];
}
