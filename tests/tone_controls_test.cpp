// The tone controls of the DLL: the range that a source gives when it is opened, what each setter sends over
// it, and each getter over what a source may answer.
#include <algorithm>

#include "CallRecord.h"

namespace {

struct Tone {
    std::string name;
    TW_UINT16 capability;
    std::string emptyScale = "! Bad range setting, minRange == maxRange, in @; ";
    std::string notBuilt = "! BuildupOneValue returns failure in @; ";

    // "Set? 50 -100 100", where '?' stands for the tone and '~' for what is said of an empty scale.
    void check(Stage& stage, const std::string& call, const std::string& record) const {
        const bool exists = call[0] == 'S' || capability != ICAP_THRESHOLD;
        if (exists) checkCall(stage, filled(call, '?', name), filled(record, '~', emptyScale), capability);
    }
};

const Tone tones[] = {
    {"Brightness", ICAP_BRIGHTNESS},
    {"Contrast", ICAP_CONTRAST, "! Bas range setting, minRange == maxRange, in @; "},
    {"Highlight", ICAP_HIGHLIGHT},
    {"Shadow", ICAP_SHADOW, tones[0].emptyScale, "! BuildupOneValue return failure in @; "},
    {"Threshold", ICAP_THRESHOLD},
};

// What opening asks for one tone, and what it warns of.
Lines rangeQuery(const Tone& tone) {
    const std::string name = " " + operation::capabilityName(tone.capability);
    const auto isFirst = [&](const std::string& line) { return line == "GET" + name; };
    const auto isOther = [&](const std::string& line) {
        return line.find("ICAP_") != std::string::npos && line.find(name) == std::string::npos;
    };
    const auto begin = std::find_if(journal.begin(), journal.end(), isFirst);
    return Lines(begin, std::find_if(begin, journal.end(), isOther));
}

}  // namespace

TEST_CASE("a tone on the host's scale: one value over the source's range, whatever the source answers") {
    const std::string current = "GETCURRENT # -> ";
    const struct {
        std::string call, record;
    } rows[] = {
        {"Set? 50 -100 100", "SET # one FIX32 500; result 0"},
        // A TW_FIX32 below nought is one 65536th too high: its halves are made separately.
        {"Set? -50 -100 100", "state 5; SET # one FIX32 -500+1/65536; result 0"},
        {"Set? 9 5 5", "~result 10"},
        {"Set? 50 -100 100", "SET # one FIX32 500 -> fail 16; !refused; result 16"},
        {"Set? 50 -100 100", "SET # one FIX32 500 -> check; !refused; result 0"},
        {"Get? 777 100 0", current + "one FIX32 500; result 0; value 25"},
        // Items of every type are taken for TW_FIX32.
        {"Get? 777 0 200", current + "one INT16 65036; result 0; value 50"},
        {"Get? 777 0 200",
         current + "check; !refused; GET # -> range FIX32 0 0 0 0 500; result 0; value 150"},
        {"Get? 777 0 200", current + "array FIX32 [5]; !container; GET #; !refused; result 6; value 100"},
        {"Get? 777 -3 0", "GETCURRENT #; !refused; GET # -> fail 13; !refused; result 13; value -1"},
        {"Get? 777 5 5", "! Bad range setting, minRange == maxRange, in @; result 10; value 0"},
        {"Get? 777 0 200",
         "state 5; GETCURRENT # -> enum FIX32 [0 500 -1000] current 1; result 0; value 150"},
        {"Set? 9 5 5", "state 2; !sequence"},
        {"Get? 777 5 5", "state 2; !sequence; value 777"},
        {"Set? 9 5 5", "state 1; !manager"},
        {"Get? 777 5 5", "state 1; !manager; value 777"},
    };
    Stages stages;
    for (const auto& row : rows) {
        for (const Tone& tone : tones)
            tone.check(stages.forRow(row.record), row.call, row.record);
    }
    Stage& stage = stages.in(4);
    stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
    for (const Tone& tone : tones)
        tone.check(stage, "Set? 0 0 1",
                   "! Memory alloc error in BuildupOneValue; " + tone.notBuilt + "result 2");
}

TEST_CASE("the source's tone ranges, asked anew for each source") {
    const std::string usual = "-1000 -333 1000", missed = "GET #; !refused; GETCURRENT #";
    const struct {
        std::string asked;  // '?' stands for the tone
        std::string sent;   // for the ends and the third of a scale: minimum, step and maximum
    } rows[] = {
        {"GET # -> range FIX32 -100 200 1 0 0", "-100 0 200"},
        // 0 to 30 in steps of one, as if they were TW_FIX32.
        {"GET # -> range INT32 0 30 1 0 0", "0 10 30"},
        {"GET # -> range FIX32 0 100 20 0 0", "0 40 100"},
        // The step is forgotten with the source that gave it.
        {"GET # -> enum FIX32 [-50 -90 -10]", "-90 -63 -10"},
        {"GET # -> one FIX32 500", usual},
        {missed + " -> range FIX32 -3 3 1 0 0", "-3 -1 3"},
        {"GET # -> check; !refused; GETCURRENT # -> range FIX32 0 9 9 0 0", "0 0 9"},
        {"GET # -> array FIX32 [5]; !container; GETCURRENT # -> range FIX32 0 3 1 0 0", "0 1 3"},
        {missed + " -> array FIX32 [5]; !container", usual},
        {missed + "; !refused", usual},
        {"GET # -> range FIX32 0 3 0 0 0; ! ?StepSize == 0 in @", "0 1 3"},
        {"GET # -> range FIX32 5 5 1 5 5; ! MinDS?Range == MaxDS?Range in @", usual},
        {"GET # -> range FIX32 5 5 0 5 5; ! MinDS?Range == MaxDS?Range in @; ! ?StepSize == 0 in @", usual},
        {"GET # -> enum FIX32 [4]; ! MinDS?Range == MaxDS?Range in @", usual},
    };
    Stage stage;
    for (const auto& row : rows) {
        for (const Tone& tone : tones) {
            stage.manager.forgetAnswers();
            stage.forget();
            const Lines expected = prepare(stage.manager, filled(row.asked, '?', tone.name),
                                           "GetDS" + tone.name + "Range", tone.capability);
            CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
            CHECK(Lines{expected.front()} + rangeQuery(tone) + expected.last(1) == expected);
            CHECK(stage.windows.memoryComplaints() == Lines{});
            std::istringstream numbers(row.sent);
            std::string sent;
            for (const std::string value : {"0", "1", "3"}) {
                numbers >> sent;
                const std::string belowNought = sent[0] == '-' ? "+1/65536" : "";
                tone.check(stage, "Set? " + value + " 0 3",
                           "SET # one FIX32 " + sent + belowNought + "; result 0");
            }
            // The getter goes by this tone's own range, too.
            tone.check(stage, "Get? 777 0 3", "GETCURRENT # -> one FIX32 " + sent + "; result 0; value 3");
            CHECK(stage.module.CloseDS() == 0);
        }
    }
}
