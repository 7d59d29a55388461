#include "common/Names.h"

#include <scanmodule/scanmodule.h>

namespace host {

const std::array<NamedCode, 4> scanModes{{
    {"bw", SM_PIXEL_BW},
    {"gray", SM_PIXEL_GRAY},
    {"color", SM_PIXEL_RGB},
    {"palette", SM_PIXEL_PALETTE},
}};

const std::array<NamedCode, 9> pixelTypes{{
    {"bw", SM_PIXEL_BW},
    {"gray", SM_PIXEL_GRAY},
    {"color", SM_PIXEL_RGB},
    {"palette", SM_PIXEL_PALETTE},
    {"cmy", SM_PIXEL_CMY},
    {"cmyk", SM_PIXEL_CMYK},
    {"yuv", SM_PIXEL_YUV},
    {"yuvk", SM_PIXEL_YUVK},
    {"ciexyz", SM_PIXEL_CIEXYZ},
}};

const std::array<NamedCode, 9> papers{{
    {"max", SM_PAPER_NONE},
    {"a4", SM_PAPER_A4LETTER},
    {"b5", SM_PAPER_B5LETTER},
    {"letter", SM_PAPER_USLETTER},
    {"legal", SM_PAPER_USLEGAL},
    {"a5", SM_PAPER_A5},
    {"b4", SM_PAPER_B4},
    {"b6", SM_PAPER_B6},
    {"b", SM_PAPER_B},
}};

const std::array<NamedCode, 3> mechanisms{{
    {"native", SM_MECH_NATIVE},
    {"file", SM_MECH_FILE},
    {"memory", SM_MECH_MEMORY},
}};

// Blocks are pulled out of a memory transfer.
const std::array<NamedCode, 4> waysToScan{{
    {"native", SM_MECH_NATIVE},
    {"file", SM_MECH_FILE},
    {"memory", SM_MECH_MEMORY},
    {"block", SM_MECH_MEMORY},
}};

const std::array<NamedCode, 6> units{{
    {"inches", SM_UNIT_INCHES},
    {"centimeters", SM_UNIT_CENTIMETERS},
    {"picas", SM_UNIT_PICAS},
    {"points", SM_UNIT_POINTS},
    {"twips", SM_UNIT_TWIPS},
    {"pixels", SM_UNIT_PIXELS},
}};

const std::array<NamedCode, 2> flavors{{
    {"0 is black", SM_FLAVOR_CHOCOLATE},
    {"0 is white", SM_FLAVOR_VANILLA},
}};

const std::array<SwitchName, 11> switchNames{{
    {Switch::UnsharpMask, "unsharp-mask", 1, "sharpen edges"},
    {Switch::DraftScan, "draft-scan", 1, "fast and coarse"},
    {Switch::Descreening, "descreening", 1, "soften printed rasters"},
    {Switch::ExposureMode, "exposure-mode", 65535, "the source's number"},
    {Switch::UiMode, "ui-mode", 3, "the source's window: 0, 1 or 3"},
    {Switch::ClearPage, "clear-page", 1, "eject the page"},
    {Switch::Pim, "pim", 1, "a private switch of the maker's software"},
    {Switch::LightPath, "light-path", 1, "0 paper, 1 film"},
    {Switch::Indicators, "indicators", 1, "the source's progress window"},
    {Switch::Feeder, "feeder", 1, "take pages from the feeder"},
    {Switch::AutoFeed, "auto-feed", 1, "feed the next page without being asked"},
}};

const SwitchName& nameOf(Switch which) {
    return switchNames[static_cast<size_t>(which)];
}

}  // namespace host
