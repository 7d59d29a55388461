#include "CapabilityNames.h"

#include <cstdio>
#include <cstdlib>

#include "TextValues.h"
#include "scanmodule/twain_types.h"

namespace vscan {

namespace {

struct Entry {
    int capability;
    const char* name;
};

constexpr Entry names[] = {
    {CAP_XFERCOUNT, "CAP_XFERCOUNT"},
    {ICAP_COMPRESSION, "ICAP_COMPRESSION"},
    {ICAP_PIXELTYPE, "ICAP_PIXELTYPE"},
    {ICAP_UNITS, "ICAP_UNITS"},
    {ICAP_XFERMECH, "ICAP_XFERMECH"},
    {CAP_FEEDERENABLED, "CAP_FEEDERENABLED"},
    {CAP_FEEDERLOADED, "CAP_FEEDERLOADED"},
    {CAP_SUPPORTEDCAPS, "CAP_SUPPORTEDCAPS"},
    {CAP_AUTOFEED, "CAP_AUTOFEED"},
    {CAP_CLEARPAGE, "CAP_CLEARPAGE"},
    {CAP_INDICATORS, "CAP_INDICATORS"},
    {CAP_UICONTROLLABLE, "CAP_UICONTROLLABLE"},
    {CAP_DEVICEONLINE, "CAP_DEVICEONLINE"},
    {ICAP_BRIGHTNESS, "ICAP_BRIGHTNESS"},
    {ICAP_CONTRAST, "ICAP_CONTRAST"},
    {ICAP_GAMMA, "ICAP_GAMMA"},
    {ICAP_HIGHLIGHT, "ICAP_HIGHLIGHT"},
    {ICAP_IMAGEFILEFORMAT, "ICAP_IMAGEFILEFORMAT"},
    {ICAP_LIGHTPATH, "ICAP_LIGHTPATH"},
    {ICAP_PHYSICALWIDTH, "ICAP_PHYSICALWIDTH"},
    {ICAP_PHYSICALHEIGHT, "ICAP_PHYSICALHEIGHT"},
    {ICAP_SHADOW, "ICAP_SHADOW"},
    {ICAP_XNATIVERESOLUTION, "ICAP_XNATIVERESOLUTION"},
    {ICAP_YNATIVERESOLUTION, "ICAP_YNATIVERESOLUTION"},
    {ICAP_XRESOLUTION, "ICAP_XRESOLUTION"},
    {ICAP_YRESOLUTION, "ICAP_YRESOLUTION"},
    {ICAP_PLANARCHUNKY, "ICAP_PLANARCHUNKY"},
    {ICAP_SUPPORTEDSIZES, "ICAP_SUPPORTEDSIZES"},
    {ICAP_THRESHOLD, "ICAP_THRESHOLD"},
    {ICAP_XSCALING, "ICAP_XSCALING"},
    {ICAP_YSCALING, "ICAP_YSCALING"},
    {ICAP_PIXELFLAVOR, "ICAP_PIXELFLAVOR"},
    {ICAP_BITDEPTH, "ICAP_BITDEPTH"},
    {KV_VERSION, "KV_VERSION"},
    {KV_DRAFTSCAN, "KV_DRAFTSCAN"},
    {KV_EXPOSUREMODE, "KV_EXPOSUREMODE"},
    {KV_LUT1, "KV_LUT1"},
    {KV_LUT2, "KV_LUT2"},
    {KV_COLORCORRECTION, "KV_COLORCORRECTION"},
    {KV_DESCREENING, "KV_DESCREENING"},
    {KV_DESCREENINGLIMIT, "KV_DESCREENINGLIMIT"},
    {KV_UNSHARPMASK, "KV_UNSHARPMASK"},
    {KV_UIMODE, "KV_UIMODE"},
    {KV_PIMFLAG, "KV_PIMFLAG"},
};

}  // namespace

std::string capabilityName(int capability) {
    for (const Entry& entry : names)
        if (entry.capability == capability) return entry.name;
    char number[16];
    std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(capability));
    return number;
}

std::optional<int> capabilityFromText(const std::string& text) {
    for (const Entry& entry : names)
        if (sameText(text, entry.name)) return entry.capability;
    return wholeNumber(text, 0, 0xFFFF);
}

}  // namespace vscan
