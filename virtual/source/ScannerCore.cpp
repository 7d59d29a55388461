#include "source/ScannerCore.h"

#include <exception>
#include <utility>

#include "page/BmpPage.h"
#include "page/TestPage.h"

namespace vscan {

namespace {

std::unique_ptr<PageContent> loadPage(const VirtualScannerSettings& settings, std::string& complaint) {
    if (!settings.page.empty()) {
        try {
            return std::make_unique<BmpPage>(settings.page);
        } catch (const std::exception& error) {
            complaint = "Page \"" + settings.page + "\": " + error.what();
        }
    }
    return std::make_unique<TestPage>(settings.paper.width, settings.paper.height);
}

}  // namespace

const ScannerCore::Triplet ScannerCore::triplets[] = {
    {DG_CONTROL, DAT_IDENTITY, &ScannerCore::identity},
    {DG_CONTROL, DAT_STATUS, &ScannerCore::status},
    {DG_CONTROL, DAT_CAPABILITY, &ScannerCore::capability},
    {DG_CONTROL, DAT_EVENT, &ScannerCore::event},
    {DG_CONTROL, DAT_USERINTERFACE, &ScannerCore::userInterface},
    {DG_CONTROL, DAT_PENDINGXFERS, &ScannerCore::pendingTransfers},
    {DG_CONTROL, DAT_SETUPMEMXFER, &ScannerCore::setupMemory},
    {DG_CONTROL, DAT_SETUPFILEXFER, &ScannerCore::setupFile},
    {DG_CONTROL, DAT_XFERGROUP, &ScannerCore::transferGroup},
    {DG_IMAGE, DAT_IMAGEINFO, &ScannerCore::imageInfo},
    {DG_IMAGE, DAT_IMAGELAYOUT, &ScannerCore::imageLayout},
    {DG_IMAGE, DAT_IMAGEMEMXFER, &ScannerCore::memoryTransfer},
    {DG_IMAGE, DAT_IMAGENATIVEXFER, &ScannerCore::nativeTransfer},
    {DG_IMAGE, DAT_IMAGEFILEXFER, &ScannerCore::fileTransfer},
    {DG_IMAGE, DAT_RGBRESPONSE, &ScannerCore::rgbResponse},
    {DG_IMAGE, DAT_PALETTE8, &ScannerCore::palette},
    {DG_IMAGE, KV_DAT_AUTOEXPOSURE, &ScannerCore::autoExposure},
    {DG_IMAGE, KV_DAT_DEFAULTRGBMATRIX, &ScannerCore::rgbMatrix},
};

ScannerCore::ScannerCore(VirtualScannerSettings settings, VirtualScanner::Notify notify)
    : settings_(std::move(settings)),
      notify_(std::move(notify)),
      content_(loadPage(settings_, pageComplaint_)),
      parameters_(settings_, {content_->width(), content_->height()}),
      batch_(settings_) {}

Outcome ScannerCore::dispatch(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    for (const Triplet& triplet : triplets)
        if (triplet.group == group && triplet.argumentType == argumentType)
            return (this->*triplet.operation)(message, data);
    return failure(TWCC_BADPROTOCOL);
}

bool ScannerCore::mechanismRefused(int mechanism) const {
    for (const int refused : settings_.refusedMechanisms)
        if (refused == mechanism) return true;
    return false;
}

}  // namespace vscan
