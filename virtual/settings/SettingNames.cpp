#include "settings/SettingNames.h"

#include "settings/Settings.h"
#include "settings/TextValues.h"

namespace vscan {

const Choices& pixelTypeNames() {
    static const Choices names{
        {"BW", TWPT_BW}, {"Gray", TWPT_GRAY}, {"RGB", TWPT_RGB}, {"Palette", TWPT_PALETTE}};
    return names;
}

const Choices& mechanismNames() {
    static const Choices names{{"Native", TWSX_NATIVE}, {"File", TWSX_FILE}, {"Memory", TWSX_MEMORY}};
    return names;
}

const Choices& unitNames() {
    static const Choices names{{"Inches", TWUN_INCHES}, {"Centimeters", TWUN_CENTIMETERS},
                               {"Picas", TWUN_PICAS},   {"Points", TWUN_POINTS},
                               {"Twips", TWUN_TWIPS},   {"Pixels", TWUN_PIXELS}};
    return names;
}

const Choices& switchNames() {
    static const Choices names{{"0", 0},   {"1", 1},  {"no", 0},    {"yes", 1},
                               {"off", 0}, {"on", 1}, {"false", 0}, {"true", 1}};
    return names;
}

const Choices& stripFaultNames() {
    static const Choices names{{"ZeroBytesPerRow", StripZeroBytesPerRow},
                               {"ExtraRows", StripExtraRows},
                               {"ExtraBytes", StripExtraBytes},
                               {"WideColumns", StripWideColumns},
                               {"Oversized", StripOversized},
                               {"ShortLast", StripShortLast}};
    return names;
}

const Choice* choiceNamed(const Choices& choices, const std::string& text) {
    for (const Choice& choice : choices)
        if (sameText(text, choice.text)) return &choice;
    return nullptr;
}

std::string choiceText(const Choices& choices, int value) {
    for (const Choice& choice : choices)
        if (choice.value == value) return choice.text;
    return std::to_string(value);
}

std::string textsOf(const Choices& choices, const char* lead) {
    std::string texts = lead;
    for (const Choice& choice : choices)
        texts += (&choice == &choices.front() ? "" : ", ") + std::string(choice.text);
    return texts;
}

}  // namespace vscan
