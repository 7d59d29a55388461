#pragma once

#include <optional>
#include <string>
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

struct SwitchValue {
    Switch which;
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
    std::optional<int> bitDepth;  // of a pixel
    std::optional<int> resolution;
    std::optional<double> scale;  // 1 is the original's size
    std::optional<unsigned short> paper;
    std::optional<Area> area;
    std::optional<bool> feeder;  // or else the flatbed
    std::optional<int> brightness;
    std::optional<int> contrast;
    std::optional<int> highlight;
    std::optional<int> shadow;
    std::optional<int> threshold;
    std::optional<double> gamma;
    std::vector<SwitchValue> switches;

    std::optional<Mechanism> mechanism;  // the first that the source offers: Memory, Native, File
    bool ui = false;                     // show the source's own window
    int pages = 1;
    int timeoutSeconds = 120;  // 0: none
};

// Sets what `name` stands for ("mode", "area"; smscan's options without their dashes) from a value as people
// type it. False when a request has nothing of that name. Throws Failure with FailureCode::Usage, which says
// what can be given.
bool setRequestValue(ScanRequest& request, const std::string& name, const std::string& text);

// Throws Failure with FailureCode::Usage when two values of the request exclude each other.
void checkRequest(const ScanRequest& request);

}  // namespace host
