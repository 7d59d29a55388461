#include "common/ScanPreparation.h"

#include "common/Failure.h"
#include "common/RawCapability.h"
#include "common/SettingReport.h"
#include "common/SourceSettings.h"
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

namespace {

// The source may make something else of it without refusing.
bool takesMechanism(const ModuleLibrary& module, unsigned short asked) {
    unsigned short got = asked;
    return module.smSetXferMech(asked) == SM_RESULT_OK &&
           (module.smGetXferMech(&got) != SM_RESULT_OK || got == asked);
}

// "native, file"; empty when the source doesn't tell.
std::string offeredMechanisms(const ModuleLibrary& module) {
    std::vector<std::string> words;
    for (const double choice : choicesOf(module.smCapNegotiate, ICAP_XFERMECH)) {
        if (choice == TWSX_NATIVE) words.push_back("native");
        if (choice == TWSX_FILE) words.push_back("file");
        if (choice == TWSX_MEMORY) words.insert(words.end(), {"memory", "block"});
    }
    return joined(words);
}

void chooseMechanism(const ModuleLibrary& module, ScanListener& listener) {
    if (takesMechanism(module, SM_MECH_MEMORY)) return;
    for (const unsigned short other : {SM_MECH_NATIVE, SM_MECH_FILE}) {
        if (!takesMechanism(module, other)) continue;
        listener.note(format("the source doesn't deliver strip by strip, so %smech is %s.", wording.option,
                             nameOf(mechanisms, other).c_str()));
        return;
    }
    throw Failure{FailureCode::SourceError,
                  "The source takes none of the ways in which pages can come: strips in memory, a bitmap in "
                  "memory, a file."};
}

void setMechanism(const ModuleLibrary& module, Mechanism mechanism) {
    const NamedCode& way = waysToScan[static_cast<size_t>(mechanism)];
    if (takesMechanism(module, way.code)) return;
    const std::string offered = offeredMechanisms(module);
    refuseValue(format("The source doesn't offer %smech %s%s.", wording.option, way.name,
                       offered.empty() ? "" : (", but " + offered).c_str()));
}

// Sources that can't do without their window show it and wait, whatever they are told.
void requireNoWindow(const ModuleLibrary& module) {
    const auto controllable = askCapability(module.smCapNegotiate, CAP_UICONTROLLABLE);
    if (controllable && controllable->current == 0)
        throw Failure{
            FailureCode::Usage,
            format("The source scans from its own window only. With %sui it is shown.", wording.option)};
}

// Has more than one page come from the feeder, if there is one and the request doesn't choose.
void prepareFeeder(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    unsigned short available = 0;
    const bool hasFeeder = module.smIsADFAvailable(&available) == SM_RESULT_OK && available;
    if (request.pages != 1 && !hasFeeder) listener.note("the source has no feeder, so there is one page.");
    if (request.pages != 1 && hasFeeder && !request.feeder)
        requireSet("its feeder", module.smSetADFEnable(1));
    if (request.pages != 1 && hasFeeder && request.feeder.value_or(true))
        module.smSetAutoFeedEnable(1);  // not every feeder has this switch
}

void requirePaper(const ModuleLibrary& module) {
    unsigned short available = 0;
    unsigned short enabled = 0;
    unsigned short loaded = 1;
    const bool hasFeeder = module.smIsADFAvailable(&available) == SM_RESULT_OK && available;
    const bool feeds = hasFeeder && module.smGetADFEnable(&enabled) == SM_RESULT_OK && enabled;
    const bool empty = feeds && module.smIsPaperLoaded(&loaded) == SM_RESULT_OK && !loaded;
    if (empty)
        throw Failure{FailureCode::SourceError, "The feeder is empty. Put the pages in and try again."};
}

// A source that doesn't take the number does no harm: pages beyond it are refused as they come.
void setPageCount(const ModuleLibrary& module, int pages, ScanListener& listener) {
    short got = static_cast<short>(pages);
    if (module.smSetXferCount(pages) != SM_RESULT_OK)
        listener.note("the source takes no number of pages.");
    else if (module.smGetXferCount(&got) == SM_RESULT_OK && got != pages)
        listener.note(format("%spages asks for %d pages, the source made it %d (-1 is all).", wording.option,
                             pages, got));
}

}  // namespace

void applyRequest(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    useInches(module, listener);
    if (request.mechanism)
        setMechanism(module, *request.mechanism);
    else
        chooseMechanism(module, listener);
    applySettings(module, request, listener);
    prepareFeeder(module, request, listener);
    setPageCount(module, request.pages, listener);
}

void prepareScan(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    if (!request.ui) requireNoWindow(module);
    applyRequest(module, request, listener);
    // With the source's window open the user can still put paper in.
    if (!request.ui) requirePaper(module);
}

}  // namespace host
