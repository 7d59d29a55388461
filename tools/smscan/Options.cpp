#include "smscan/Options.h"

#include <cstdlib>
#include <cstring>

#include "common/Failure.h"
#include "common/Text.h"

namespace smscan {

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw Failure{ExitCode::Usage, text + "\nsmscan --help lists the options."};
}

int parseWhole(const std::string& option, const std::string& text, int lowest, int highest) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < lowest || value > highest)
        refuse(format("%s takes a whole number from %d to %d, not \"%s\".", option.c_str(), lowest, highest,
                      text.c_str()));
    return static_cast<int>(value);
}

double parseGamma(const std::string& option, const std::string& text) {
    constexpr double lowest = 0.1;
    constexpr double highest = 10.0;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value >= lowest && value <= highest))
        refuse(format("%s takes a number from %.1f to %.1f, not \"%s\".", option.c_str(), lowest, highest,
                      text.c_str()));
    return value;
}

template <size_t Count>
unsigned short parseName(const std::string& option, const std::array<NamedCode, Count>& names,
                         const std::string& text) {
    if (const NamedCode* entry = findName(names, text)) return entry->code;
    std::vector<std::string> words;
    for (const NamedCode& entry : names)
        words.push_back(entry.name);
    refuse(format("%s takes one of %s, not \"%s\".", option.c_str(), joined(words).c_str(), text.c_str()));
}

Mechanism parseMechanism(const std::string& option, const std::string& text) {
    static constexpr const char* words[] = {"native", "file", "memory", "block"};
    for (size_t i = 0; i < std::size(words); ++i)
        if (text == words[i]) return static_cast<Mechanism>(i);
    refuse(format("%s takes one of native, file, memory, block, not \"%s\".", option.c_str(), text.c_str()));
}

const pages::FormatTraits& parseFormat(const std::string& option, const std::string& text) {
    if (const pages::FormatTraits* traits = pages::findFormatByName(text)) return *traits;
    refuse(format("%s takes one of %s, not \"%s\".", option.c_str(), joined(formatNames()).c_str(),
                  text.c_str()));
}

SettingValue parseSetting(const std::string& text) {
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    for (const SettingName& entry : settingNames) {
        if (name != entry.name) continue;
        if (equals == std::string::npos) refuse(format("--set %s lacks its value: NAME=VALUE.", entry.name));
        const std::string value = text.substr(equals + 1);
        if (entry.highest == 1 && (value == "on" || value == "off"))
            return {entry.setting, value == "on" ? 1 : 0};
        const int number = parseWhole(format("--set %s", entry.name), value, 0, entry.highest);
        if (entry.setting == Setting::UiMode && number == 2) refuse("--set ui-mode takes 0, 1 or 3.");
        return {entry.setting, number};
    }
    std::vector<std::string> words;
    for (const SettingName& entry : settingNames)
        words.push_back(entry.name);
    refuse(format("--set knows no \"%s\"; there are %s.", name.c_str(), joined(words).c_str()));
}

// One option: its value is empty for those that take none.
struct OptionRule {
    const char* name;
    bool takesValue;
    void (*apply)(Options& options, const std::string& name, const std::string& value);
};

constexpr auto tone = [](std::optional<int>& field, const std::string& name, const std::string& value,
                         bool percent) {
    field = percent ? parseWhole(name, value, percentLowest, percentHighest)
                    : parseWhole(name, value, levelLowest, levelHighest);
};

using Word = const std::string&;

const OptionRule optionRules[] = {
    {"--help", false, [](Options& o, Word, Word) { o.action = Action::Help; }},
    {"--version", false, [](Options& o, Word, Word) { o.action = Action::Version; }},
    {"--list", false, [](Options& o, Word, Word) { o.action = Action::List; }},
    {"--caps", false, [](Options& o, Word, Word) { o.action = Action::Caps; }},
    {"--json", false, [](Options& o, Word, Word) { o.json = true; }},
    {"--default", true,
     [](Options& o, Word, Word value) {
         o.action = Action::MakeDefault;
         o.defaultName = value;
     }},
    {"--source", true, [](Options& o, Word, Word value) { o.source = value; }},
    {"--select", false, [](Options& o, Word, Word) { o.select = true; }},
    {"--mode", true,
     [](Options& o, Word name, Word value) { o.pixelType = parseName(name, scanModes, value); }},
    {"--resolution", true,
     [](Options& o, Word name, Word value) { o.resolution = parseWhole(name, value, 1, 32767); }},
    {"--paper", true, [](Options& o, Word name, Word value) { o.paper = parseName(name, papers, value); }},
    {"--area", true, [](Options& o, Word, Word value) { o.area = parseArea(value); }},
    {"--brightness", true, [](Options& o, Word name, Word value) { tone(o.brightness, name, value, true); }},
    {"--contrast", true, [](Options& o, Word name, Word value) { tone(o.contrast, name, value, true); }},
    {"--highlight", true, [](Options& o, Word name, Word value) { tone(o.highlight, name, value, false); }},
    {"--shadow", true, [](Options& o, Word name, Word value) { tone(o.shadow, name, value, false); }},
    {"--threshold", true, [](Options& o, Word name, Word value) { tone(o.threshold, name, value, false); }},
    {"--gamma", true, [](Options& o, Word name, Word value) { o.gamma = parseGamma(name, value); }},
    {"--set", true, [](Options& o, Word, Word value) { o.settings.push_back(parseSetting(value)); }},
    {"--mech", true, [](Options& o, Word name, Word value) { o.mechanism = parseMechanism(name, value); }},
    {"--presto", false, [](Options& o, Word, Word) { o.presto = true; }},
    {"--ui", false, [](Options& o, Word, Word) { o.ui = true; }},
    {"--pages", true,
     [](Options& o, Word name, Word value) {
         o.pages = value == "all" ? allPages : parseWhole(name + " (or \"all\")", value, 1, 32767);
     }},
    {"--output", true, [](Options& o, Word, Word value) { o.output.pattern = value; }},
    {"--format", true,
     [](Options& o, Word name, Word value) { o.output.format = &parseFormat(name, value); }},
    {"--multipage", false, [](Options& o, Word, Word) { o.output.multipage = true; }},
    {"--force", false, [](Options& o, Word, Word) { o.output.force = true; }},
    {"--start", true,
     [](Options& o, Word name, Word value) { o.output.start = parseWhole(name, value, 0, 999999); }},
    {"--quality", true,
     [](Options& o, Word name, Word value) { o.output.settings.quality = parseWhole(name, value, 1, 100); }},
    {"--lossless", false, [](Options& o, Word, Word) { o.output.settings.lossless = true; }},
    {"--progress", false, [](Options& o, Word, Word) { o.progress = true; }},
    {"--timeout", true,
     [](Options& o, Word name, Word value) { o.timeoutSeconds = parseWhole(name, value, 0, 86400); }},
};

const OptionRule* findRule(const std::string& name) {
    for (const OptionRule& rule : optionRules)
        if (name == rule.name) return &rule;
    return nullptr;
}

void checkTogether(const Options& options) {
    if (options.select && !options.source.empty())
        refuse("--select and --source exclude each other: both choose the source.");
    if (options.area && options.paper)
        refuse("--area and --paper exclude each other: both choose what is scanned.");
    if (options.json && options.action != Action::Caps) refuse("--json goes with --caps.");
    const bool unsettable = options.paper || options.area || options.threshold || options.gamma ||
                            !options.settings.empty() || options.mechanism != Mechanism::Memory;
    if (options.presto && unsettable)
        refuse(
            "--presto takes --mode, --resolution, --brightness, --contrast, --highlight, --shadow, --pages, "
            "--ui, --output and what goes with it only.");
}

// Where the user names no file.
void chooseDefaultOutput(OutputRequest& output) {
    if (!output.pattern.empty()) return;
    const std::string extensions = output.format ? output.format->extensions : ".bmp";
    output.pattern = "scan%03d" + extensions.substr(0, extensions.find(' '));
    output.multipage = output.multipage || (output.format && output.format->format == pages::FileFormat::Pdf);
}

}  // namespace

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const pages::FormatTraits& traits : pages::fileFormats())
        names.push_back(traits.name);
    return names;
}

Options parseOptions(const std::vector<std::string>& words) {
    Options options;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const OptionRule* rule = findRule(name);
        if (!rule) refuse(format("Unknown option \"%s\".", word.c_str()));
        std::string value;
        if (equals != std::string::npos) {
            if (!rule->takesValue) refuse(format("%s takes no value.", rule->name));
            value = word.substr(equals + 1);
        } else if (rule->takesValue) {
            if (i + 1 == words.size()) refuse(format("%s lacks its value.", rule->name));
            value = words[++i];
        }
        if (rule->takesValue && value.empty()) refuse(format("%s lacks its value.", rule->name));
        rule->apply(options, rule->name, value);
        if (options.action == Action::Help || options.action == Action::Version) return options;
    }
    checkTogether(options);
    chooseDefaultOutput(options.output);
    return options;
}

Area parseArea(const std::string& text) {
    struct LengthUnit {
        const char* name;
        double perInch;
    };
    static constexpr LengthUnit lengthUnits[] = {{"in", 1.0}, {"cm", 2.54}, {"mm", 25.4}, {"pt", 72.0}};

    double values[4] = {};
    double perInch[4] = {};
    const char* position = text.c_str();
    for (int i = 0; i < 4; ++i) {
        char* end = nullptr;
        values[i] = std::strtod(position, &end);
        bool valid = end != position;
        for (const LengthUnit& unit : lengthUnits) {
            if (std::strncmp(end, unit.name, std::strlen(unit.name)) != 0) continue;
            perInch[i] = unit.perInch;
            end += std::strlen(unit.name);
            break;
        }
        valid = valid && *end == (i < 3 ? ',' : '\0');
        if (!valid)
            refuse(format(
                "--area takes LEFT,TOP,RIGHT,BOTTOM, each with in, cm, mm or pt behind it, not \"%s\".",
                text.c_str()));
        position = end + 1;
    }
    double unit = perInch[3] != 0 ? perInch[3] : 1.0;
    for (int i = 3; i >= 0; --i) {
        if (perInch[i] != 0) unit = perInch[i];
        values[i] /= unit;
    }
    const Area area{values[0], values[1], values[2], values[3]};
    if (!(area.left >= 0 && area.top >= 0 && area.right > area.left && area.bottom > area.top))
        refuse(
            format("--area %s is empty or begins outside the page: LEFT,TOP,RIGHT,BOTTOM count from the top "
                   "left corner.",
                   text.c_str()));
    return area;
}

}  // namespace smscan
