// Units of measure: the module's one-bit unit codes and what converts between a source's unit and inches.
#pragma once

#include <cstdint>

struct UnitFactors {
    uint16_t code;        // the module's unit code, 1 << TWUN_ value
    double perInch;       // multiplies dots per inch (or inches) on the way to the source
    double toInches;      // multiplies what the source says on the way back
    double recordFactor;  // scales the resolutions of a transfer record
};

// The scan area in inches that stands in where a source's can't be had.
constexpr double standInWidth = 8.0;
constexpr double standInHeight = 11.0;

// The code of a TWUN_ value; anything unknown counts as inches.
uint16_t unitCodeOf(uint32_t twainUnit);

// Inches' factors for codes that are none.
const UnitFactors& factorsOf(uint16_t unitCode);
