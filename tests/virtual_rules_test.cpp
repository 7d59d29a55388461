// The virtual scanner against the rules of the TWAIN standard, all of them in turn: which operation is
// allowed in which state, and for every capability what each operation answers and changes.
#include "virtual_host.h"

namespace {

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

Items offeredCapabilities(VirtualHost& host) {
    Items ids;
    for (const std::string& word : wordsOf(host.ask(CAP_SUPPORTEDCAPS, MSG_GET).substr(14)))
        ids.push_back(static_cast<TW_UINT32>(std::stoul(word)));
    return ids;
}

// What a host could find changed.
std::string everything(VirtualHost& host) {
    std::string text = std::to_string(host.scanner.state()) + " " + host.notes;
    for (const TW_UINT32 id : Items{CAP_XFERCOUNT, ICAP_PIXELTYPE, ICAP_SUPPORTEDSIZES, CAP_FEEDERLOADED})
        text += host.ask(static_cast<TW_UINT16>(id), MSG_GET) + ", ";
    TW_SETUPFILEXFER file{};
    host.control(DAT_SETUPFILEXFER, MSG_GET, &file);
    TW_PENDINGXFERS pending{};
    host.control(DAT_PENDINGXFERS, MSG_GET, &pending);
    return text + file.FileName + " " + host.answer("frame") + " " + std::to_string(pending.Count);
}

const HostOperation* operationOf(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message) {
    for (const HostOperation& known : hostOperations)
        if (known.group == group && known.argumentType == argumentType && known.message == message)
            return &known;
    return nullptr;
}

bool allowedIn(const HostOperation& operation, int state) {
    return operation.states.find(std::to_string(state)) != std::string::npos;
}

// Enough for the record of each operation, and sensible for most.
struct AnyRecord {
    alignas(8) unsigned char bytes[4096] = {};
};

}  // namespace

TEST_CASE("what is out of sequence or unknown is refused as such, and changes nothing") {
    for (int state = 3; state <= 7; ++state) {
        CAPTURE(state);
        VirtualHost host("Pages=2 Resolution=50", state);
        const std::string before = everything(host);
        std::string wrong;
        for (const TW_UINT32 group : {1, 2, 4})
            for (const TW_UINT16 block : {0x0000, 0x0100, 0x0200, 0x8000})
                for (TW_UINT16 argumentType = block; argumentType < block + 0x10; ++argumentType)
                    for (const TW_UINT16 messages : {0x0000, 0x0100, 0x0300, 0x0400, 0x0500, 0x0600, 0x0700})
                        for (TW_UINT16 message = messages; message < messages + 0x0A; ++message) {
                            const HostOperation* const known = operationOf(group, argumentType, message);
                            if (known && allowedIn(*known, state)) continue;
                            const bool opens = known && message == MSG_OPENDS;  // one host is the limit
                            AnyRecord record;
                            const std::string result = host.call(group, argumentType, message, record.bytes);
                            if (result != (!known ? "failure 9" : opens ? "failure 4" : "failure 11"))
                                wrong += std::to_string(group) + "/" + std::to_string(argumentType) + "/" +
                                         std::to_string(message) + ": " + result + "; ";
                        }
        CHECK(wrong == "");
        CHECK(host.condition() == 0);  // it is given once
        CHECK(everything(host) == before);
    }
}

TEST_CASE("what is in sequence is answered, but for data that is none, which changes nothing") {
    for (const HostOperation& operation : hostOperations)
        for (int state = 3; state <= 7; ++state) {
            if (!allowedIn(operation, state)) continue;
            CAPTURE(operation.argumentType);
            CAPTURE(operation.message);
            CAPTURE(state);
            VirtualHost host("Pages=2 Resolution=50", state);
            const auto call = [&](void* data) {
                return host.call(operation.group, operation.argumentType, operation.message, data);
            };
            const bool takesNone =
                operation.argumentType == DAT_IDENTITY || operation.message == MSG_DISABLEDS ||
                operation.name == "write" ||
                (operation.argumentType == DAT_RGBRESPONSE && operation.message == MSG_RESET);
            const std::string before = everything(host);
            for (const std::uintptr_t bad : {0, 16})
                if (!takesNone) CHECK(call(reinterpret_cast<void*>(bad)) == "failure 10");
            CHECK(everything(host) == before);
            AnyRecord record;
            const std::string result = call(record.bytes);
            CHECK((result != "failure 9" && result != "failure 11"));
            if (operation.name == "native") GlobalFree(*reinterpret_cast<HGLOBAL*>(record.bytes));
        }
    DeleteFileA("TWAIN.BMP");
}

namespace {

// A capability with a value that isn't the default and one that isn't offered; without one it can't be set.
const struct CapabilityRule {
    TW_UINT16 id;
    const char *container, *type;  // of MSG_GET
    const char *other = nullptr, *outside = nullptr;
} capabilityRules[] = {{CAP_XFERCOUNT, "one", "INT16", "3", "0"},
                       {ICAP_COMPRESSION, "enum", "UINT16", "0", "5"},
                       {ICAP_PIXELTYPE, "enum", "UINT16", "1", "8"},
                       {ICAP_UNITS, "enum", "UINT16", "1", "9"},
                       {ICAP_XFERMECH, "enum", "UINT16", "2", "3"},
                       {CAP_FEEDERENABLED, "one", "BOOL", "0"},
                       {CAP_FEEDERLOADED, "one", "BOOL"},
                       {CAP_SUPPORTEDCAPS, "array", "UINT16"},
                       {CAP_AUTOFEED, "one", "BOOL", "0"},
                       {CAP_CLEARPAGE, "one", "BOOL", "1"},
                       {CAP_INDICATORS, "one", "BOOL", "0"},
                       {CAP_UICONTROLLABLE, "one", "BOOL"},
                       {CAP_DEVICEONLINE, "one", "BOOL"},
                       {ICAP_BRIGHTNESS, "range", "FIX32", "-20", "1001"},
                       {ICAP_CONTRAST, "range", "FIX32", "1000", "-1001"},
                       {ICAP_GAMMA, "one", "FIX32", "2.5", "0"},
                       {ICAP_HIGHLIGHT, "range", "FIX32", "200", "256"},
                       {ICAP_IMAGEFILEFORMAT, "enum", "UINT16", "2", "0"},
                       {ICAP_PHYSICALWIDTH, "one", "FIX32"},
                       {ICAP_PHYSICALHEIGHT, "one", "FIX32"},
                       {ICAP_SHADOW, "range", "FIX32", "30", "-1"},
                       {ICAP_XNATIVERESOLUTION, "one", "FIX32"},
                       {ICAP_YNATIVERESOLUTION, "one", "FIX32"},
                       {ICAP_XRESOLUTION, "range", "FIX32", "300", "1201"},
                       {ICAP_YRESOLUTION, "range", "FIX32", "75", "49"},
                       {ICAP_LIGHTPATH, "enum", "UINT16", "1", "2"},
                       {ICAP_PIXELFLAVOR, "enum", "UINT16", "1", "2"},
                       {ICAP_PLANARCHUNKY, "enum", "UINT16", "1", "2"},
                       {ICAP_SUPPORTEDSIZES, "enum", "UINT16", "3", "99"},
                       {ICAP_THRESHOLD, "range", "FIX32", "90", "300"},
                       {ICAP_XSCALING, "range", "FIX32", "2", "5"},
                       {ICAP_YSCALING, "range", "FIX32", "0.5", "0"},
                       {ICAP_BITDEPTH, "enum", "UINT16", "48", "8"},
                       {KV_VERSION, "one", "UINT16"},
                       {KV_DRAFTSCAN, "one", "BOOL", "1"},
                       {KV_EXPOSUREMODE, "enum", "UINT16", "2", "3"},
                       {KV_LUT1, "enum", "UINT16", "1", "2"},
                       {KV_LUT2, "enum", "UINT16", "2", "3"},
                       {KV_COLORCORRECTION, "enum", "UINT16", "2", "3"},
                       {KV_DESCREENING, "one", "BOOL", "1"},
                       {KV_DESCREENINGLIMIT, "one", "FIX32"},
                       {KV_UNSHARPMASK, "one", "BOOL", "1"},
                       {KV_UIMODE, "enum", "UINT16", "3", "4"},
                       {KV_PIMFLAG, "one", "BOOL", "1"}};

// The current and the default value of an answer to MSG_GET, "1 2"; of one value only the current one.
std::string valuesIn(const std::string& all) {
    std::vector<std::string> words = wordsOf(all);
    if (words[0] == "range") return words[6] + " " + words[5];
    if (words[0] != "enum") return words[2];
    std::string list = all.substr(all.find('[') + 1);
    const std::vector<std::string> items = wordsOf(list.substr(0, list.find(']')));
    const size_t count = words.size();
    return items.at(std::stoul(words[count - 3])) + " " + items.at(std::stoul(words[count - 1]));
}

}  // namespace

TEST_CASE("each capability: what it says of itself, and what its operations then do, in state 4 and later") {
    Items listed;
    for (const CapabilityRule& rule : capabilityRules) {
        CAPTURE(rule.id);
        listed.push_back(rule.id);
        VirtualHost host("Pages=3");  // CAP_CLEARPAGE takes two of them
        const std::string one = std::string("one ") + rule.type + " ", all = host.ask(rule.id, MSG_GET);
        CHECK(all.substr(0, all.find(' ', all.find(' ') + 1)) ==
              std::string(rule.container) + " " + rule.type);
        CHECK(host.ask(rule.id, MSG_QUERYSUPPORT) == (rule.other ? "one INT32 31" : "one INT32 13"));
        const std::string standard = host.ask(rule.id, MSG_GETDEFAULT);
        CHECK(host.ask(rule.id, MSG_GETCURRENT) == standard);
        const auto set = [&](const char* value) { return host.set(rule.id, containerOf(one + value)); };
        // What MSG_GET, MSG_GETCURRENT and MSG_GETDEFAULT say while `current` is chosen.
        const auto checkValues = [&](const std::string& current) {
            if (rule.container == std::string("array")) return;
            const std::string now = current.substr(one.size()), first = standard.substr(one.size());
            const bool single = rule.container == std::string("one");
            CHECK(valuesIn(host.ask(rule.id, MSG_GET)) == (single ? now : now + " " + first));
            CHECK(host.ask(rule.id, MSG_GETCURRENT) == current);
            CHECK(host.ask(rule.id, MSG_GETDEFAULT) == standard);
        };
        checkValues(standard);
        if (rule.other) {
            CHECK(set(rule.other) == "success");
            TW_CAPABILITY wanted{rule.id, TWON_ONEVALUE, containerOf(one + rule.other).allocate()};
            checkValues(containerText(wanted));
            GlobalFree(wanted.hContainer);
            const std::string current = host.ask(rule.id);
            if (rule.outside) CHECK(set(rule.outside) == "failure 10");
            CHECK(host.set(rule.id, array(TWTY_UINT16, {1})) == "failure 10");
            checkValues(current);
            CHECK(host.ask(rule.id, MSG_RESET) == standard);
            checkValues(standard);
            CHECK(set(rule.other) == "success");
        } else {
            CHECK(set("1") == "failure 14");
            CHECK(host.ask(rule.id, MSG_RESET) == "failure 14");
        }
        const std::string current = host.ask(rule.id), whole = host.ask(rule.id, MSG_GET);
        for (const char* step : {"enable", "strip"}) {
            host.answer(step);
            CHECK(set("1") == "failure 11");
            CHECK(host.ask(rule.id, MSG_RESET) == "failure 11");
            CHECK(host.ask(rule.id, MSG_QUERYSUPPORT) == (rule.other ? "one INT32 31" : "one INT32 13"));
            CHECK(host.ask(rule.id, MSG_GET) == whole);
            checkValues(current);
        }
    }
    VirtualHost host;
    std::sort(listed.begin(), listed.end());
    CHECK(listed == offeredCapabilities(host));
}

TEST_CASE(
    "the reason of a refusal: unknown, read-only, dependent on another, of a wrong kind; or all in one") {
    const Story stories[] = {
        {"RefusedCapabilities=ICAP_GAMMA ReadOnlyCapabilities=ICAP_LIGHTPATH",
         "ICAP_GAMMA?: failure 13; ICAP_LIGHTPATH 1: failure 14; 0x1234: failure "
         "13"},
        {"Feeder=off",
         "CAP_AUTOFEED 0: failure 15; CAP_CLEARPAGE 1: failure 15; CAP_AUTOFEED: one BOOL 1; "
         "CAP_FEEDERENABLED 1: success; CAP_AUTOFEED 0: success"},
        {"Protocol=1.6 Feeder=off RefusedCapabilities=ICAP_GAMMA",
         "ICAP_GAMMA: failure 6; CAP_FEEDERLOADED 1: failure 6; CAP_AUTOFEED 0: failure 6; "
         "ICAP_UNITS 9: failure 10"}};
    checkStories(stories);
    VirtualHost host("RefusedCapabilities=ICAP_GAMMA ReadOnlyCapabilities=ICAP_LIGHTPATH Feeder=off");
    const struct {
        TW_UINT16 id;
        TW_UINT16 message;
        const char* answer;
    } asked[] = {{ICAP_GAMMA, MSG_QUERYSUPPORT, "failure 13"},
                 {ICAP_GAMMA, MSG_RESET, "failure 13"},
                 {ICAP_LIGHTPATH, MSG_QUERYSUPPORT, "one INT32 13"},
                 {CAP_AUTOFEED, MSG_RESET, "failure 15"}};
    for (const auto& row : asked)
        CHECK(host.ask(row.id, row.message) == row.answer);
    const struct {
        TW_UINT16 id;
        const char *container, *answer;
    } set[] = {{ICAP_GAMMA, "one FIX32 1", "failure 13"},
               {ICAP_BRIGHTNESS, "range FIX32 -1000 1000 1 0 7", "success"},
               {ICAP_BRIGHTNESS, "range FIX32 -50 1000 1 0 8", "check"},  // the bounds stay
               {ICAP_BRIGHTNESS, "range FIX32 -1000 50 1 0 9", "check"},
               {ICAP_BRIGHTNESS, "enum FIX32 [1 2] current 0 default 0", "failure 10"},
               {ICAP_PIXELTYPE, "range UINT16 0 2 1 0 1", "failure 10"},
               {CAP_INDICATORS, "enum BOOL [0 1] current 0 default 0", "failure 10"}};
    for (const auto& row : set)
        CHECK(host.set(row.id, containerOf(row.container)) == row.answer);
    host.check("ICAP_BRIGHTNESS?: range FIX32 -1000 1000 1 0 9; ICAP_PIXELTYPE: one UINT16 2");
}
