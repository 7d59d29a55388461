#pragma once

#include <optional>
#include <vector>

#include "common/Names.h"

namespace host {

enum class Mechanism { Native, File, Memory, Block };

// The scan area in inches.
struct Area {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
};

struct SettingValue {
    Setting setting;
    int value;
};

constexpr int allPages = -1;

// The scales that tone values are counted on.
constexpr int percentLowest = -100;
constexpr int percentHighest = 100;
constexpr int levelLowest = 0;
constexpr int levelHighest = 255;

// What is to be scanned and how. What isn't given stays as the source has it.
struct ScanRequest {
    std::optional<unsigned short> pixelType;
    std::optional<int> resolution;
    std::optional<unsigned short> paper;
    std::optional<Area> area;
    std::optional<int> brightness;
    std::optional<int> contrast;
    std::optional<int> highlight;
    std::optional<int> shadow;
    std::optional<int> threshold;
    std::optional<double> gamma;
    std::vector<SettingValue> settings;

    Mechanism mechanism = Mechanism::Memory;
    bool ui = false;  // show the source's own window
    int pages = 1;
    int timeoutSeconds = 120;  // 0: none
};

}  // namespace host
