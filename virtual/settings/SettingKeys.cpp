#include "settings/SettingKeys.h"

#include <utility>

#include "settings/CapabilityText.h"
#include "settings/PaperSizes.h"
#include "settings/SettingNames.h"
#include "settings/TextValues.h"

namespace vscan {

namespace {

using Settings = VirtualScannerSettings;

SettingKey textKey(const char* name, std::string Settings::*field, std::size_t longest) {
    return {name, "a text of at most " + std::to_string(longest) + " characters",
            [=](Settings& settings, const std::string& text) {
                if (text.size() > longest) return false;
                settings.*field = text;
                return true;
            },
            [=](const Settings& settings) { return settings.*field; }};
}

SettingKey wholeKey(const char* name, int Settings::*field, int minimum, int maximum) {
    return {name, "a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum),
            [=](Settings& settings, const std::string& text) {
                const auto value = wholeNumber(text, minimum, maximum);
                if (value) settings.*field = *value;
                return value.has_value();
            },
            [=](const Settings& settings) { return std::to_string(settings.*field); }};
}

SettingKey numberKey(const char* name, double Settings::*field, double minimum, double maximum) {
    return {name, "a number from " + showNumber(minimum) + " to " + showNumber(maximum),
            [=](Settings& settings, const std::string& text) {
                const auto value = decimalNumber(text, minimum, maximum);
                if (value) settings.*field = *value;
                return value.has_value();
            },
            [=](const Settings& settings) { return showNumber(settings.*field); }};
}

SettingKey switchKey(const char* name, bool Settings::*field) {
    return {name, "1 (yes) or 0 (no)",
            [=](Settings& settings, const std::string& text) {
                const Choice* choice = choiceNamed(switchNames(), text);
                if (choice) settings.*field = choice->value != 0;
                return choice != nullptr;
            },
            [=](const Settings& settings) { return std::string(settings.*field ? "1" : "0"); }};
}

template <typename Value>
SettingKey choiceKey(const char* name, Value Settings::*field, const Choices& choices) {
    return {name, textsOf(choices, "one of "),
            [=](Settings& settings, const std::string& text) {
                const Choice* choice = choiceNamed(choices, text);
                if (choice) settings.*field = static_cast<Value>(choice->value);
                return choice != nullptr;
            },
            [=](const Settings& settings) { return choiceText(choices, static_cast<int>(settings.*field)); }};
}

SettingKey listKey(const char* name, std::vector<int> Settings::*field, const Choices& choices) {
    return {name, textsOf(choices, "a list, with commas, of "),
            [=](Settings& settings, const std::string& text) {
                std::vector<int> values;
                for (const std::string& item : listItems(text)) {
                    const Choice* choice = choiceNamed(choices, item);
                    if (!choice) return false;
                    values.push_back(choice->value);
                }
                settings.*field = values;
                return true;
            },
            [=](const Settings& settings) {
                std::string shown;
                for (const int value : settings.*field)
                    shown += (shown.empty() ? "" : ",") + choiceText(choices, value);
                return shown;
            }};
}

SettingKey capabilitiesKey(const char* name, std::vector<int> Settings::*field) {
    return {name, "a list, with commas, of capability names or numbers",
            [=](Settings& settings, const std::string& text) {
                std::vector<int> values;
                for (const std::string& item : listItems(text)) {
                    const auto capability = capabilityFromText(item);
                    if (!capability) return false;
                    values.push_back(*capability);
                }
                settings.*field = values;
                return true;
            },
            [=](const Settings& settings) {
                std::string shown;
                for (const int value : settings.*field)
                    shown += (shown.empty() ? "" : ",") + capabilityName(value);
                return shown;
            }};
}

SettingKey bufferSizeKey(const char* name, unsigned Settings::*field) {
    return {name, "auto or a whole number of bytes up to 1073741824",
            [=](Settings& settings, const std::string& text) {
                const auto size = wholeNumber(text, 0, 1 << 30);
                if (size) settings.*field = static_cast<unsigned>(*size);
                const bool automatic = sameText(text, "auto");
                if (automatic) settings.*field = automaticSize;
                return size || automatic;
            },
            [=](const Settings& settings) {
                return settings.*field == automaticSize ? "auto" : std::to_string(settings.*field);
            }};
}

SettingKey stripFaultsKey() {
    return {"StripFaults", textsOf(stripFaultNames(), "a list, with commas, of "),
            [](Settings& settings, const std::string& text) {
                unsigned faults = 0;
                for (const std::string& item : listItems(text)) {
                    const Choice* choice = choiceNamed(stripFaultNames(), item);
                    if (!choice) return false;
                    faults |= static_cast<unsigned>(choice->value);
                }
                settings.stripFaults = faults;
                return true;
            },
            [](const Settings& settings) {
                std::string shown;
                for (const Choice& choice : stripFaultNames())
                    if (settings.stripFaults & static_cast<unsigned>(choice.value))
                        shown += (shown.empty() ? "" : ",") + std::string(choice.text);
                return shown;
            }};
}

SettingKey paperKey() {
    std::string accepts = "one of ";
    for (const NamedPaper& paper : namedPapers())
        accepts += std::string(paper.name) + ", ";
    return {"Paper", accepts + "or a size in inches like 8.5x14",
            [](Settings& settings, const std::string& text) {
                const auto size = paperFromText(text);
                if (size) settings.paper = *size;
                return size.has_value();
            },
            [](const Settings& settings) { return paperToText(settings.paper); }};
}

SettingKey pixelTypesKey() {
    SettingKey key = listKey("PixelTypes", &Settings::pixelTypes, pixelTypeNames());
    const auto applyAny = key.apply;
    key.apply = [=](Settings& settings, const std::string& text) {
        return !listItems(text).empty() && applyAny(settings, text);
    };
    return key;
}

std::vector<SettingKey> makeKeys() {
    const int tooMany = 9999;
    return {
        textKey("Manufacturer", &Settings::manufacturer, 32),
        textKey("ProductFamily", &Settings::productFamily, 32),
        textKey("ProductName", &Settings::productName, 32),
        choiceKey("Protocol", &Settings::protocolMinor,
                  {{"1.9", 9}, {"1.8", 8}, {"1.7", 7}, {"1.6", 6}, {"1.5", 5}}),
        wholeKey("FirmwareVersion", &Settings::firmwareVersion, 0, 0xFFFF),
        textKey("Page", &Settings::page, 259),
        paperKey(),
        numberKey("BedWidth", &Settings::bedWidth, 1, 100),
        numberKey("BedHeight", &Settings::bedHeight, 1, 100),
        pixelTypesKey(),
        choiceKey("PixelType", &Settings::pixelType, pixelTypeNames()),
        choiceKey("BitDepth", &Settings::bitDepth,
                  {{"auto", 0}, {"1", 1}, {"4", 4}, {"8", 8}, {"16", 16}, {"24", 24}, {"48", 48}}),
        wholeKey("Resolution", &Settings::resolution, 50, 2400),
        wholeKey("MaxResolution", &Settings::maxResolution, 50, 2400),
        choiceKey("Units", &Settings::units, unitNames()),
        switchKey("InverseResolution", &Settings::inverseResolution),
        choiceKey("TransferMechanism", &Settings::transferMechanism, mechanismNames()),
        choiceKey("Feeder", &Settings::feeder,
                  {{"on", static_cast<int>(Feeder::On)},
                   {"off", static_cast<int>(Feeder::Off)},
                   {"none", static_cast<int>(Feeder::None)}}),
        wholeKey("Pages", &Settings::pages, 0, tooMany),
        switchKey("Refill", &Settings::refill),
        choiceKey("EmptyFeeder", &Settings::emptyFeeder,
                  {{"refuse", static_cast<int>(EmptyFeeder::Refuse)},
                   {"close", static_cast<int>(EmptyFeeder::CloseRequest)},
                   {"cancel", static_cast<int>(EmptyFeeder::Cancel)}}),
        switchKey("UnknownPendingCount", &Settings::unknownPendingCount),
        wholeKey("PendingCountError", &Settings::pendingCountError, -1, 1),
        choiceKey("Window", &Settings::window,
                  {{"stay", static_cast<int>(WindowBehavior::Stay)},
                   {"close", static_cast<int>(WindowBehavior::Close)},
                   {"behind", static_cast<int>(WindowBehavior::Behind)},
                   {"none", static_cast<int>(WindowBehavior::None)},
                   {"1", static_cast<int>(WindowBehavior::Stay)},
                   {"0", static_cast<int>(WindowBehavior::None)}}),
        switchKey("UIControllable", &Settings::uiControllable),
        switchKey("Planar", &Settings::planar),
        switchKey("RowPadding", &Settings::rowPadding),
        switchKey("LowByteFirst", &Settings::lowByteFirst),
        wholeKey("StripRows", &Settings::stripRows, 0, 1000000),
        wholeKey("StripColumns", &Settings::stripColumns, 0, 1000000),
        bufferSizeKey("MinBufferSize", &Settings::minBufferSize),
        bufferSizeKey("MaxBufferSize", &Settings::maxBufferSize),
        bufferSizeKey("PreferredBufferSize", &Settings::preferredBufferSize),
        stripFaultsKey(),
        choiceKey("OpenFault", &Settings::openFault,
                  {{"none", static_cast<int>(OpenFault::None)},
                   {"offline", static_cast<int>(OpenFault::Offline)},
                   {"busy", static_cast<int>(OpenFault::Busy)},
                   {"brightness", static_cast<int>(OpenFault::Brightness)},
                   {"hang", static_cast<int>(OpenFault::Hang)},
                   {"crash", static_cast<int>(OpenFault::Crash)}}),
        wholeKey("JamAtPage", &Settings::jamAtPage, 0, tooMany),
        wholeKey("CancelAtPage", &Settings::cancelAtPage, 0, tooMany),
        wholeKey("FailAtPage", &Settings::failAtPage, 0, tooMany),
        wholeKey("FaultAfterStrip", &Settings::faultAfterStrip, 0, 1000000),
        wholeKey("FailConditionCode", &Settings::failConditionCode, 0, 0xFFFF),
        choiceKey("FailBy", &Settings::failBy,
                  {{"code", static_cast<int>(FailBy::Code)},
                   {"hang", static_cast<int>(FailBy::Hang)},
                   {"crash", static_cast<int>(FailBy::Crash)},
                   {"exit", static_cast<int>(FailBy::Exit)}}),
        switchKey("UnknownLength", &Settings::unknownLength),
        wholeKey("LengthError", &Settings::lengthError, -100000, 100000),
        wholeKey("Delay", &Settings::delay, 0, 60000),
        switchKey("Prints", &Settings::prints),
        switchKey("ReadsInput", &Settings::readsInput),
        listKey("RefusedMechanisms", &Settings::refusedMechanisms, mechanismNames()),
        capabilitiesKey("RefusedCapabilities", &Settings::refusedCapabilities),
        capabilitiesKey("ReadOnlyCapabilities", &Settings::readOnlyCapabilities),
        choiceKey("OddContainers", &Settings::oddContainers,
                  {{"none", static_cast<int>(OddContainers::None)},
                   {"array", static_cast<int>(OddContainers::Array)},
                   {"itemtype", static_cast<int>(OddContainers::ItemType)},
                   {"truncated", static_cast<int>(OddContainers::Truncated)},
                   {"index", static_cast<int>(OddContainers::Index)},
                   {"count", static_cast<int>(OddContainers::Count)},
                   {"nohandle", static_cast<int>(OddContainers::NoHandle)}}),
        textKey("Replay", &Settings::replay, 259),
        choiceKey("ReplayImages", &Settings::replayImages,
                  {{"matching", static_cast<int>(ReplayImages::Matching)},
                   {"any", static_cast<int>(ReplayImages::Any)}}),
        switchKey("ReplayDelays", &Settings::replayDelays),
    };
}

}  // namespace

const std::vector<SettingKey>& settingKeys() {
    static const std::vector<SettingKey> keys = makeKeys();
    return keys;
}

std::vector<std::string> applySettings(VirtualScannerSettings& settings,
                                       const std::vector<FoundSetting>& found) {
    std::vector<std::string> complaints;
    for (const FoundSetting& setting : found) {
        const SettingKey* known = nullptr;
        for (const SettingKey& key : settingKeys())
            if (sameText(key.name, setting.key)) known = &key;
        if (!known)
            complaints.push_back(setting.origin + ": there is no setting \"" + setting.key + "\"");
        else if (!known->apply(settings, setting.value))
            complaints.push_back(setting.origin + ": " + known->name + " can't be \"" + setting.value +
                                 "\"; it takes " + known->accepts);
    }
    return complaints;
}

}  // namespace vscan
