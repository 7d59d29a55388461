#include "capabilities/CapabilityTable.h"

#include <algorithm>
#include <cmath>

#include "settings/PaperSizes.h"
#include "settings/SettingsChecks.h"

namespace vscan {

namespace {

Capability oneValue(int id, TW_UINT16 itemType, double value, double minimum, double maximum) {
    Capability capability;
    capability.id = id;
    capability.itemType = itemType;
    capability.current = capability.standard = value;
    capability.minimum = minimum;
    capability.maximum = maximum;
    return capability;
}

Capability readOnly(int id, TW_UINT16 itemType, double value, CapabilityUnit unit = CapabilityUnit::None) {
    Capability capability = oneValue(id, itemType, value, value, value);
    capability.settable = false;
    capability.unit = unit;
    return capability;
}

Capability boolean(int id, bool value) {
    return oneValue(id, TWTY_BOOL, value, 0, 0xFFFF);
}

Capability enumeration(int id, std::vector<double> choices, double value) {
    Capability capability = oneValue(id, TWTY_UINT16, value, 0, 0xFFFF);
    capability.shape = CapabilityShape::Enumeration;
    capability.possible = choices;
    capability.choices = std::move(choices);
    return capability;
}

Capability range(int id, double minimum, double maximum, double step, double value,
                 CapabilityUnit unit = CapabilityUnit::None) {
    Capability capability = oneValue(id, TWTY_FIX32, value, minimum, maximum);
    capability.shape = CapabilityShape::Range;
    capability.step = step;
    capability.unit = unit;
    return capability;
}

bool contains(const std::vector<double>& list, double value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool listed(const std::vector<int>& list, int value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

CapabilityTable::CapabilityTable(const VirtualScannerSettings& settings) : firstBitDepth_(settings.bitDepth) {
    addImageCapabilities(settings);
    addGeometry(settings);
    addFeederAndTransfer(settings);
    addToneAndVendor(settings);
    Capability supported;
    supported.id = CAP_SUPPORTEDCAPS;
    supported.shape = CapabilityShape::Array;
    supported.settable = false;
    add(std::move(supported));
    hideRefused(settings);

    std::vector<double>& list = find(CAP_SUPPORTEDCAPS)->choices;
    for (const Capability& capability : capabilities_)
        if (!capability.hidden) list.push_back(capability.id);
    std::sort(list.begin(), list.end());
}

void CapabilityTable::addImageCapabilities(const VirtualScannerSettings& settings) {
    const std::vector<double> types(settings.pixelTypes.begin(), settings.pixelTypes.end());
    const double type = contains(types, settings.pixelType) ? settings.pixelType : types.front();
    add(enumeration(ICAP_PIXELTYPE, types, type));
    add(enumeration(ICAP_BITDEPTH, {}, 0));
    offerBitDepths();
    firstBitDepth_ = 0;  // a pixel type that the host chooses starts with its usual depth
    add(enumeration(ICAP_PIXELFLAVOR, {TWPF_CHOCOLATE, TWPF_VANILLA}, TWPF_CHOCOLATE));
    add(enumeration(ICAP_PLANARCHUNKY, {TWPC_CHUNKY, TWPC_PLANAR},
                    settings.planar ? TWPC_PLANAR : TWPC_CHUNKY));
    add(enumeration(ICAP_COMPRESSION, {TWCP_NONE}, TWCP_NONE));
    add(enumeration(ICAP_IMAGEFILEFORMAT, {TWFF_BMP}, TWFF_BMP));
}

void CapabilityTable::addGeometry(const VirtualScannerSettings& settings) {
    add(enumeration(ICAP_UNITS,
                    {TWUN_INCHES, TWUN_CENTIMETERS, TWUN_PICAS, TWUN_POINTS, TWUN_TWIPS, TWUN_PIXELS},
                    settings.units));
    const double highest = settings.maxResolution;
    const double resolution = std::min<double>(settings.resolution, highest);
    for (const int id : {ICAP_XRESOLUTION, ICAP_YRESOLUTION})
        add(range(id, 50, highest, 1, resolution, CapabilityUnit::PerInch));
    for (const int id : {ICAP_XNATIVERESOLUTION, ICAP_YNATIVERESOLUTION})
        add(readOnly(id, TWTY_FIX32, highest, CapabilityUnit::PerInch));
    for (const int id : {ICAP_XSCALING, ICAP_YSCALING})
        add(range(id, 0.25, 4, 0.01, 1));
    add(readOnly(ICAP_PHYSICALWIDTH, TWTY_FIX32, settings.bedWidth, CapabilityUnit::Width));
    add(readOnly(ICAP_PHYSICALHEIGHT, TWTY_FIX32, settings.bedHeight, CapabilityUnit::Height));
    std::vector<double> sizes{TWSS_NONE};
    for (const NamedPaper& paper : namedPapers())
        if (paper.size.width <= settings.bedWidth && paper.size.height <= settings.bedHeight)
            sizes.push_back(paper.code);
    std::sort(sizes.begin(), sizes.end());
    add(enumeration(ICAP_SUPPORTEDSIZES, sizes, TWSS_NONE));
}

void CapabilityTable::addFeederAndTransfer(const VirtualScannerSettings& settings) {
    if (settings.feeder != Feeder::None) {
        add(boolean(CAP_FEEDERENABLED, settings.feeder == Feeder::On));
        add(readOnly(CAP_FEEDERLOADED, TWTY_BOOL, settings.pages > 0));
        for (Capability feeding : {boolean(CAP_AUTOFEED, true), boolean(CAP_CLEARPAGE, false)}) {
            feeding.needs = CAP_FEEDERENABLED;
            add(std::move(feeding));
        }
    }
    std::vector<double> mechanisms;
    for (const int mechanism : {TWSX_NATIVE, TWSX_FILE, TWSX_MEMORY})
        if (!listed(settings.refusedMechanisms, mechanism)) mechanisms.push_back(mechanism);
    const bool offered = mechanisms.empty() || contains(mechanisms, settings.transferMechanism);
    const double mechanism = offered ? settings.transferMechanism : mechanisms.front();
    add(enumeration(ICAP_XFERMECH, mechanisms, mechanism));
    add(oneValue(CAP_XFERCOUNT, TWTY_INT16, -1, -1, 0x7FFF));
    add(boolean(CAP_INDICATORS, true));
    add(readOnly(CAP_UICONTROLLABLE, TWTY_BOOL, settings.uiControllable));
    add(readOnly(CAP_DEVICEONLINE, TWTY_BOOL, settings.openFault == OpenFault::None));
}

void CapabilityTable::addToneAndVendor(const VirtualScannerSettings& settings) {
    add(range(ICAP_BRIGHTNESS, -1000, 1000, 1, 0));
    add(range(ICAP_CONTRAST, -1000, 1000, 1, 0));
    add(range(ICAP_HIGHLIGHT, 0, 255, 1, 255));
    add(range(ICAP_SHADOW, 0, 255, 1, 0));
    add(range(ICAP_THRESHOLD, 0, 255, 1, 128));
    add(oneValue(ICAP_GAMMA, TWTY_FIX32, 1, 0.1, 10));
    add(enumeration(ICAP_LIGHTPATH, {TWLP_REFLECTIVE, TWLP_TRANSMISSIVE}, TWLP_REFLECTIVE));
    add(readOnly(KV_VERSION, TWTY_UINT16, settings.firmwareVersion));
    add(boolean(KV_DRAFTSCAN, false));
    add(enumeration(KV_EXPOSUREMODE, {0, 1, 2}, 0));
    add(enumeration(KV_LUT1, {0, 1}, 0));
    add(enumeration(KV_LUT2, {0, 1, 2}, 0));
    add(enumeration(KV_COLORCORRECTION, {0, 1, 2}, 0));
    add(boolean(KV_DESCREENING, false));
    add(readOnly(KV_DESCREENINGLIMIT, TWTY_FIX32, 300, CapabilityUnit::PerInch));
    add(boolean(KV_UNSHARPMASK, false));
    add(enumeration(KV_UIMODE, {0, 1, 2, 3}, 0));
    add(boolean(KV_PIMFLAG, false));
}

void CapabilityTable::hideRefused(const VirtualScannerSettings& settings) {
    for (Capability& capability : capabilities_) {
        const bool nothingLeft =
            capability.shape == CapabilityShape::Enumeration && capability.choices.empty();
        capability.hidden = nothingLeft || listed(settings.refusedCapabilities, capability.id);
        if (listed(settings.readOnlyCapabilities, capability.id)) capability.settable = false;
    }
}

// The bit depths follow the pixel type.
void CapabilityTable::offerBitDepths() {
    Capability* depth = find(ICAP_BITDEPTH);
    if (!depth) return;
    const std::vector<int> offered = bitDepthsOf(number(ICAP_PIXELTYPE));
    const std::vector<double> depths(offered.begin(), offered.end());
    depth->standard = contains(depths, firstBitDepth_) ? firstBitDepth_ : depths.front();
    depth->current = depth->standard;
    depth->possible = depths;
    std::sort(depth->possible.begin(), depth->possible.end());
    depth->choices = depth->possible;
}

const Capability* CapabilityTable::offered(int id) const {
    const Capability* capability = known(id);
    return capability && !capability->hidden ? capability : nullptr;
}

const Capability* CapabilityTable::known(int id) const {
    for (const Capability& capability : capabilities_)
        if (capability.id == id) return &capability;
    return nullptr;
}

Capability* CapabilityTable::find(int id) {
    return const_cast<Capability*>(known(id));
}

double CapabilityTable::value(int id) const {
    const Capability* capability = known(id);
    return capability ? capability->current : 0;
}

SetResult CapabilityTable::set(int id, double value, const std::vector<double>& items) {
    Capability* capability = find(id);
    if (!capability) return SetResult::Refused;
    if (capability->itemType == TWTY_BOOL) value = value != 0;
    SetResult result = SetResult::Done;
    if (capability->shape == CapabilityShape::Enumeration) {
        const bool known = std::all_of(items.begin(), items.end(),
                                       [&](double item) { return contains(capability->possible, item); });
        const std::vector<double>& offered = items.empty() ? capability->choices : items;
        if (!known || !contains(offered, value)) return SetResult::Refused;
        if (!items.empty()) capability->choices = items;
    } else {
        // A value that only lost digits on its way in 16.16 fixed point, in whatever unit, is no other value.
        const double tolerance = capability->step > 0 ? capability->step * 0.05 : 0;
        if (value < capability->minimum - tolerance || value > capability->maximum + tolerance)
            return SetResult::Refused;
        if (id == CAP_XFERCOUNT && value == 0) return SetResult::Refused;
        if (capability->step > 0) {
            const double steps = std::round((value - capability->minimum) / capability->step);
            const double snapped = capability->minimum + steps * capability->step;
            if (std::fabs(snapped - value) > tolerance) result = SetResult::Adjusted;
            value = snapped;
        }
    }
    capability->current = value;
    if (id == ICAP_PIXELTYPE) offerBitDepths();
    return result;
}

void CapabilityTable::reset(int id) {
    Capability* capability = find(id);
    if (!capability) return;
    capability->choices =
        capability->shape == CapabilityShape::Array ? capability->choices : capability->possible;
    capability->current = capability->standard;
    if (id == ICAP_PIXELTYPE) offerBitDepths();
}

void CapabilityTable::assign(int id, double value) {
    if (Capability* capability = find(id)) capability->current = value;
}

void CapabilityTable::setStandard(int id, double value) {
    if (Capability* capability = find(id)) capability->standard = capability->current = value;
}

}  // namespace vscan
