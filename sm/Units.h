// Units of measure: the module's one-bit unit codes and what converts between a source's unit and inches.
#pragma once

#include <cstdint>

struct UnitFactors {
    uint16_t code;        // the module's unit code, 1 << TWUN_ value
    double perInch;       // multiplies dots per inch (or inches) on the way to the source
    double toInches;      // multiplies what the source says on the way back
    double recordFactor;  // scales the resolutions of a transfer record
};

constexpr uint16_t unitInches = 1;
constexpr uint16_t unitCentimeters = 2;
constexpr uint16_t unitPicas = 4;
constexpr uint16_t unitPoints = 8;
constexpr uint16_t unitTwips = 16;
constexpr uint16_t unitPixels = 32;

// The code of a TWUN_ value; anything unknown counts as inches.
uint16_t unitCodeOf(uint32_t twainUnit);

// Inches' factors for codes that are none.
const UnitFactors& factorsOf(uint16_t unitCode);
