#include "capabilities/Units.h"

#include <scanmodule/scanmodule.h>
#include <scanmodule/twain_types.h>

namespace {

// Kept: dots per inch are multiplied by 2.54 for centimetres, not divided; setter and getter are each other's
// inverse, and hosts rely on the numbers. The transfer records use the shorter factor 0.3937.
constexpr UnitFactors table[] = {
    {SM_UNIT_INCHES, 1.0, 1.0, 1.0},
    {SM_UNIT_CENTIMETERS, 2.54, 0.39370078740157477, 0.3937},
    {SM_UNIT_PICAS, 6.0, 1.0 / 6.0, 1.0 / 6.0},
    {SM_UNIT_POINTS, 72.0, 1.0 / 72.0, 1.0 / 72.0},
    {SM_UNIT_TWIPS, 1440.0, 1.0 / 1440.0, 1.0 / 1440.0},
    {SM_UNIT_PIXELS, 1.0, 1.0, 1.0},
};

}  // namespace

uint16_t unitCodeOf(uint32_t twainUnit) {
    return table[twainUnit <= TWUN_PIXELS ? twainUnit : 0].code;
}

const UnitFactors& factorsOf(uint16_t unitCode) {
    for (const UnitFactors& factors : table) {
        if (factors.code == unitCode) return factors;
    }
    return table[0];
}
