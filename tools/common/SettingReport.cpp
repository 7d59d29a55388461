#include "common/SettingReport.h"

#include <scanmodule/scanmodule.h>

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
    throw Failure{FailureCode::SourceError,
                  format("The source refuses %s: %s.", what.c_str(), conditionWords(result).c_str())};
}

void compare(ScanListener& listener, const std::string& option, const std::string& asked,
             const std::string& got) {
    if (asked != got)
        listener.note(format("%s %s was asked for, the source made it %s.", option.c_str(), asked.c_str(),
                             got.c_str()));
}

}  // namespace host
