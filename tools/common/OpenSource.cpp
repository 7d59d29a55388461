#include "common/OpenSource.h"

#include "common/Conditions.h"
#include "common/Failure.h"
#include "common/SourceChoice.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

OpenSource::OpenSource(const ModuleLibrary& module, HWND parent) : module_(module) {
    const int result = module.smOpenDS(parent, wording.program);
    open_ = result == SM_RESULT_OK;
    if (open_) return;
    const std::string name = productName(module);
    // This one is asked after the opening, and so the source is closed and its name gone.
    if (result == SM_CONDITION_OPERATION_ERROR && name.empty())
        throw Failure{FailureCode::SourceError,
                      "The source opens, but can't be used: " + conditionSentence(result), result};
    if (name.empty()) throw Failure{FailureCode::NoSource, explainNoSource(result, "")};
    throw Failure{
        FailureCode::SourceError,
        format("Cannot open the source \"%s\": %s", name.c_str(), conditionSentence(result).c_str()), result};
}

void OpenSource::enable(bool showWindow) {
    const int result = module_.smEnableDS(showWindow, FALSE);
    enabled_ = result == SM_RESULT_OK;
    if (!enabled_)
        throw Failure{FailureCode::SourceError,
                      format("The source \"%s\" can't start the scan: %s", productName(module_).c_str(),
                             conditionSentence(result).c_str()),
                      result};
}

void OpenSource::disable() {
    if (enabled_) module_.smDisableDS();
    enabled_ = false;
}

void OpenSource::close() {
    disable();
    if (open_) module_.smCloseDS();
    open_ = false;
}

}  // namespace host
