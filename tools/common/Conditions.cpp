#include "common/Conditions.h"

#include <scanmodule/scanmodule.h>

#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

struct Condition {
    int code;
    const char* words;
    const char* advice;
};

constexpr const char* seeOffers = nullptr;  // in the program's own words

constexpr Condition conditions[] = {
    {0, "failure without a reason", ""},
    {SM_RESULT_NOT_AVAILABLE, "no TWAIN manager", ""},
    {SM_CONDITION_BUMMER, "failure of unknown cause",
     "Look whether the scanner is switched on and connected, and try again."},
    {SM_CONDITION_LOW_MEMORY, "not enough memory", "Scan at a lower resolution or a smaller area."},
    {SM_CONDITION_NO_DS, "no such source", "Install the scanner's driver."},
    {SM_CONDITION_MAX_CONNECTIONS, "the source is in use by another program",
     "Close the other program that scans and try again."},
    {SM_CONDITION_OPERATION_ERROR, "the scanner doesn't work",
     "Look whether it is switched on and connected, and try again."},
    {SM_CONDITION_BAD_CAP, "not known to the source", ""},
    {SM_CONDITION_BAD_PROTOCOL, "operation not known to the source", ""},
    {SM_CONDITION_BAD_VALUE, "value out of range", seeOffers},
    {SM_CONDITION_SEQ_ERROR, "call out of sequence", ""},
    {SM_CONDITION_BAD_DEST, "no such source", ""},
    {SM_CONDITION_CAP_UNSUPPORTED, "not offered by the source", ""},
    {SM_CONDITION_CAP_BAD_OPERATION, "the source doesn't allow this operation", ""},
    {SM_CONDITION_CAP_SEQ_ERROR, "depends on another setting", ""},
    {SM_CONDITION_DENIED, "denied", ""},
    {SM_CONDITION_PAPER_JAM, "paper jam", "Clear the paper path, put the pages left back and scan them."},
    {SM_CONDITION_PAPER_DOUBLE_FEED, "two pages were fed at once",
     "Fan the pages, put them back and scan them again."},
    {SM_CONDITION_FILE_WRITE_ERROR, "the source can't write the file", "Look for room on the disk."},
    {SM_CONDITION_CHECK_DEVICE_ONLINE, "the scanner is offline",
     "Look whether it is switched on and connected, and try again."},
};

const Condition* find(int code) {
    for (const Condition& condition : conditions)
        if (condition.code == code) return &condition;
    return nullptr;
}

}  // namespace

std::string conditionName(int code) {
    const Condition* condition = find(code);
    return condition ? condition->words : "unknown failure";
}

std::string conditionWords(int code) {
    return format("%s (condition code %d)", conditionName(code).c_str(), code);
}

std::string conditionSentence(int code) {
    const Condition* condition = find(code);
    const char* const known = condition ? condition->advice : "";
    const std::string advice = known == seeOffers ? wording.seeOffers : known;
    return conditionWords(code) + "." + (advice.empty() ? "" : " " + advice);
}

FailureCode failureCodeOf(int code) {
    return code == SM_CONDITION_FILE_WRITE_ERROR ? FailureCode::CannotWrite : FailureCode::SourceError;
}

}  // namespace host
