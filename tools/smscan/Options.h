#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Names.h"

namespace smscan {

enum class Action { Scan, List, Caps, MakeDefault, Version, Help };

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

struct Options {
    Action action = Action::Scan;
    bool select = false;
    std::string source;       // empty: the default source
    std::string defaultName;  // of Action::MakeDefault
    bool json = false;

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
    bool presto = false;
    bool ui = false;
    int pages = 1;
    std::string output = "scan%03d.bmp";
    bool progress = false;
    int timeoutSeconds = 120;  // 0: none
};

// The scales that smscan counts tone values on.
constexpr int percentLowest = -100;
constexpr int percentHighest = 100;
constexpr int levelLowest = 0;
constexpr int levelHighest = 255;

// Reads the command line without the program's name. Throws Failure with ExitCode::Usage.
Options parseOptions(const std::vector<std::string>& words);

// "0,0,2in,3in": four numbers, each with a unit or with that of the next one that has one; inches if none
// has.
Area parseArea(const std::string& text);

std::string helpText();

}  // namespace smscan
