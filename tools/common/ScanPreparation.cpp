#include "common/ScanPreparation.h"

#include <algorithm>

#include "common/Failure.h"
#include "common/RawCapability.h"
#include "common/SettingReport.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

bool worksInInches(const ModuleLibrary& module, ScanListener& listener) {
    unsigned short unit = SM_UNIT_INCHES;
    module.smGetUnit(&unit);
    if (unit != SM_UNIT_INCHES)
        listener.note(format("the source works in %s, not in inches: resolutions may be wrong.",
                             nameOf(units, unit).c_str()));
    return unit == SM_UNIT_INCHES;
}

void useInches(const ModuleLibrary& module, ScanListener& listener) {
    unsigned short unit = SM_UNIT_INCHES;
    module.smGetUnit(&unit);
    if (unit == SM_UNIT_INCHES) return;
    setCapability(module.smCapNegotiate, ICAP_UNITS, TWUN_INCHES);
    worksInInches(module, listener);
}

void setMechanism(const ModuleLibrary& module, Mechanism mechanism) {
    static constexpr unsigned short codes[] = {SM_MECH_NATIVE, SM_MECH_FILE, SM_MECH_MEMORY, SM_MECH_MEMORY};
    const unsigned short asked = codes[static_cast<size_t>(mechanism)];
    unsigned short got = asked;
    const bool set = module.smSetXferMech(asked) == SM_RESULT_OK;
    if (!set || (module.smGetXferMech(&got) == SM_RESULT_OK && got != asked))
        throw Failure{FailureCode::SourceError, format("The source doesn't offer %smech %s. Try another one.",
                                                       wording.option, nameOf(mechanisms, asked).c_str())};
}

void prepareFeeder(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    unsigned short available = 0;
    const bool hasFeeder = module.smIsADFAvailable(&available) == SM_RESULT_OK && available;
    const bool chosen =
        std::any_of(request.settings.begin(), request.settings.end(),
                    [](const SettingValue& value) { return value.setting == Setting::Feeder; });
    if (request.pages != 1 && !chosen) {
        if (hasFeeder) {
            requireSet("its feeder", module.smSetADFEnable(1));
            module.smSetAutoFeedEnable(1);  // not every feeder has this switch
        } else {
            listener.note("the source has no feeder, so there is one page.");
        }
    }
    unsigned short enabled = 0;
    unsigned short loaded = 1;
    const bool feeds = hasFeeder && module.smGetADFEnable(&enabled) == SM_RESULT_OK && enabled;
    const bool empty = feeds && module.smIsPaperLoaded(&loaded) == SM_RESULT_OK && !loaded;
    // With the source's window open the user can still put paper in.
    if (empty && !request.ui)
        throw Failure{FailureCode::SourceError, "The feeder is empty. Put the pages in and try again."};
}

void setPageCount(const ModuleLibrary& module, int pages, ScanListener& listener) {
    short got = static_cast<short>(pages);
    if (module.smSetXferCount(pages) != SM_RESULT_OK)
        listener.note("the source takes no number of pages.");
    else if (module.smGetXferCount(&got) == SM_RESULT_OK && got != pages)
        listener.note(format("%spages asks for %d pages, the source made it %d (-1 is all).", wording.option,
                             pages, got));
}

}  // namespace host
