#include "common/SettingReport.h"

#include <scanmodule/scanmodule.h>

#include <algorithm>

#include "common/Conditions.h"
#include "common/Failure.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

void refuseValue(const std::string& text) {
    throw Failure{FailureCode::Usage, text + " " + wording.seeOffers};
}

void requireSet(const std::string& what, int result) {
    if (result == SM_RESULT_OK) return;
    const std::string text =
        format("The source refuses %s: %s.", what.c_str(), conditionWords(result).c_str());
    if (result == SM_CONDITION_BAD_VALUE) refuseValue(text);
    throw Failure{FailureCode::SourceError, text, result};
}

void requireOffered(const std::string& what, double asked, const std::vector<double>& choices,
                    const char* unit) {
    if (choices.empty() || std::find(choices.begin(), choices.end(), asked) != choices.end()) return;
    std::vector<std::string> words;
    for (const double choice : choices)
        words.push_back(format("%g", choice));
    refuseValue(
        format("The source doesn't offer %s%g%s, but %s.", what.c_str(), asked, unit, joined(words).c_str()));
}

void compare(ScanListener& listener, const std::string& option, const std::string& asked,
             const std::string& got) {
    if (asked != got)
        listener.note(format("%s %s was asked for, the source made it %s.", option.c_str(), asked.c_str(),
                             got.c_str()));
}

}  // namespace host
