#include "settings/SettingsChecks.h"

#include <algorithm>

#include "settings/PaperSizes.h"
#include "settings/SettingNames.h"

namespace vscan {

std::vector<int> bitDepthsOf(int pixelType) {
    switch (pixelType) {
        case TWPT_BW:
            return {1};
        case TWPT_GRAY:
            return {8, 4, 16};
        case TWPT_PALETTE:
            return {8, 4};
        default:
            return {24, 48};
    }
}

std::vector<std::string> contradictions(const VirtualScannerSettings& settings) {
    std::vector<std::string> lines;
    const auto listed = [](const std::vector<int>& list, int value) {
        return std::find(list.begin(), list.end(), value) != list.end();
    };
    if (!listed(settings.pixelTypes, settings.pixelType))
        lines.push_back("PixelType " + choiceText(pixelTypeNames(), settings.pixelType) +
                        " is not among PixelTypes; the first of them counts");
    if (settings.bitDepth != 0 && !listed(bitDepthsOf(settings.pixelType), settings.bitDepth))
        lines.push_back("BitDepth " + std::to_string(settings.bitDepth) + " doesn't go with PixelType " +
                        choiceText(pixelTypeNames(), settings.pixelType) + "; its usual depth counts");
    if (settings.resolution > settings.maxResolution)
        lines.push_back("Resolution " + std::to_string(settings.resolution) +
                        " is above MaxResolution; MaxResolution counts");
    if (listed(settings.refusedMechanisms, settings.transferMechanism))
        lines.push_back("TransferMechanism " + choiceText(mechanismNames(), settings.transferMechanism) +
                        " is among RefusedMechanisms; the first other one counts");
    if (settings.paper.width > settings.bedWidth || settings.paper.height > settings.bedHeight)
        lines.push_back("Paper " + paperToText(settings.paper) +
                        " is larger than BedWidth x BedHeight; what fits is scanned");
    return lines;
}

}  // namespace vscan
