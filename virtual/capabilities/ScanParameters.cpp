#include "capabilities/ScanParameters.h"

#include <algorithm>

#include "capabilities/CapabilityContainers.h"
#include "settings/PaperSizes.h"
#include "twain/CapabilityItems.h"

namespace vscan {

using shared::fromFix32;

ScanParameters::ScanParameters(const VirtualScannerSettings& settings, PaperSize paper)
    : settings_(settings),
      table_(settings),
      standardFrame_{0, 0, std::min(paper.width, settings.bedWidth),
                     std::min(paper.height, settings.bedHeight)} {
    restart();
}

void ScanParameters::restart() {
    table_ = CapabilityTable(settings_);
    table_.setStandard(ICAP_SUPPORTEDSIZES, paperCode({standardFrame_.right, standardFrame_.bottom}));
    frame_ = standardFrame_;
    response_ = ToneControls::identityResponse();
}

// Host's units in an inch.
double ScanParameters::perInch(bool vertical) const {
    switch (table_.number(ICAP_UNITS)) {
        case TWUN_CENTIMETERS:
            return 2.54;
        case TWUN_PICAS:
            return 6;
        case TWUN_POINTS:
            return 72;
        case TWUN_TWIPS:
            return 1440;
        case TWUN_PIXELS:
            return table_.value(vertical ? ICAP_YRESOLUTION : ICAP_XRESOLUTION);
        default:
            return 1;
    }
}

double ScanParameters::toHost(const Capability& capability, double value) const {
    switch (capability.unit) {
        case CapabilityUnit::Width:
            return value * perInch(false);
        case CapabilityUnit::Height:
            return value * perInch(true);
        case CapabilityUnit::PerInch:
            // A resolution per pixel makes no sense; it stays one per inch.
            if (table_.number(ICAP_UNITS) == TWUN_PIXELS) return value;
            return settings_.inverseResolution ? value * perInch(false) : value / perInch(false);
        default:
            return value;
    }
}

double ScanParameters::fromHost(const Capability& capability, double value) const {
    const double unit = toHost(capability, 1);
    return value / unit;
}

SetResult ScanParameters::set(const Capability& capability, double value, const std::vector<double>& items) {
    return change(capability, fromHost(capability, value), items);
}

SetResult ScanParameters::choose(int id, double value) {
    const Capability* capability = table_.known(id);
    return capability ? change(*capability, value, {}) : SetResult::Refused;
}

SetResult ScanParameters::change(const Capability& capability, double value,
                                 const std::vector<double>& items) {
    if (!capability.settable) return SetResult::Refused;
    const SetResult result = table_.set(capability.id, value, items);
    if (result != SetResult::Refused && capability.id == ICAP_SUPPORTEDSIZES) frameFollowsPaper();
    return result;
}

void ScanParameters::reset(const Capability& capability) {
    table_.reset(capability.id);
    if (capability.id == ICAP_SUPPORTEDSIZES) resetFrame();
}

void ScanParameters::frameFollowsPaper() {
    const int code = table_.number(ICAP_SUPPORTEDSIZES);
    if (code == TWSS_NONE) frame_ = {0, 0, settings_.bedWidth, settings_.bedHeight};
    for (const NamedPaper& paper : namedPapers())
        if (paper.code == code) frame_ = {0, 0, paper.size.width, paper.size.height};
}

void ScanParameters::describeFrame(TW_IMAGELAYOUT& layout, bool standard) const {
    const Area& area = standard ? standardFrame_ : frame_;
    layout.Frame = {toFix32(area.left * perInch(false)), toFix32(area.top * perInch(true)),
                    toFix32(area.right * perInch(false)), toFix32(area.bottom * perInch(true))};
    layout.DocumentNumber = 1;
    layout.PageNumber = 1;
    layout.FrameNumber = 1;
}

SetResult ScanParameters::setFrame(const TW_FRAME& frame) {
    const Area wanted{fromFix32(frame.Left) / perInch(false), fromFix32(frame.Top) / perInch(true),
                      fromFix32(frame.Right) / perInch(false), fromFix32(frame.Bottom) / perInch(true)};
    if (!(wanted.right > wanted.left && wanted.bottom > wanted.top)) return SetResult::Refused;
    constexpr double rounding = 0.001;  // inches that 16.16 fixed point numbers may be off
    const Area clipped{std::max(wanted.left, 0.0), std::max(wanted.top, 0.0),
                       std::min(wanted.right, settings_.bedWidth),
                       std::min(wanted.bottom, settings_.bedHeight)};
    if (!(clipped.right > clipped.left && clipped.bottom > clipped.top)) return SetResult::Refused;
    frame_ = clipped;
    const bool atOrigin = frame_.left == 0 && frame_.top == 0;
    table_.assign(ICAP_SUPPORTEDSIZES, atOrigin ? paperCode({frame_.right, frame_.bottom}) : TWSS_NONE);
    const bool changed = wanted.left < -rounding || wanted.top < -rounding ||
                         wanted.right > settings_.bedWidth + rounding ||
                         wanted.bottom > settings_.bedHeight + rounding;
    return changed ? SetResult::Adjusted : SetResult::Done;
}

void ScanParameters::resetFrame() {
    frame_ = standardFrame_;
    table_.reset(ICAP_SUPPORTEDSIZES);
}

PixelKind ScanParameters::chosenKind() const {
    const int depth = table_.number(ICAP_BITDEPTH);
    switch (table_.number(ICAP_PIXELTYPE)) {
        case TWPT_BW:
            return PixelKind::Bw1;
        case TWPT_GRAY:
            return depth == 4 ? PixelKind::Gray4 : depth == 16 ? PixelKind::Gray16 : PixelKind::Gray8;
        case TWPT_PALETTE:
            return depth == 4 ? PixelKind::Palette4 : PixelKind::Palette8;
        default:
            return depth == 48 ? PixelKind::Rgb48 : PixelKind::Rgb24;
    }
}

PageRequest ScanParameters::request(int pageNumber) const {
    PageRequest request;
    request.kind = deliveredKind();
    request.xResolution = table_.value(ICAP_XRESOLUTION) * table_.value(ICAP_XSCALING);
    request.yResolution = table_.value(ICAP_YRESOLUTION) * table_.value(ICAP_YSCALING);
    request.area = frame_;
    request.pageNumber = pageNumber;
    const bool flavored = request.kind == PixelKind::Bw1 || isGray(request.kind);
    request.vanilla = flavored && table_.number(ICAP_PIXELFLAVOR) == TWPF_VANILLA;
    request.tone.brightness = table_.value(ICAP_BRIGHTNESS);
    request.tone.contrast = table_.value(ICAP_CONTRAST);
    request.tone.highlight = table_.value(ICAP_HIGHLIGHT);
    request.tone.shadow = table_.value(ICAP_SHADOW);
    request.tone.threshold = table_.value(ICAP_THRESHOLD);
    request.tone.gamma = table_.value(ICAP_GAMMA);
    request.tone.response = response_;
    request.draft = table_.flag(KV_DRAFTSCAN);
    request.unsharpMask = table_.flag(KV_UNSHARPMASK);
    request.descreen =
        table_.flag(KV_DESCREENING) && table_.value(ICAP_XRESOLUTION) <= table_.value(KV_DESCREENINGLIMIT);
    return request;
}

bool ScanParameters::planar() const {
    return isRgb(chosenKind()) && table_.number(ICAP_PLANARCHUNKY) == TWPC_PLANAR &&
           table_.number(ICAP_XFERMECH) == TWSX_MEMORY;
}

PixelKind ScanParameters::deliveredKind() const {
    return table_.number(ICAP_XFERMECH) == TWSX_MEMORY ? chosenKind() : dibKind(chosenKind());
}

TW_IMAGEINFO ScanParameters::imageInfo() const {
    const PageRequest page = request(1);
    const PixelKind delivered = page.kind;
    const Capability* resolution = table_.offered(ICAP_XRESOLUTION);
    const auto inHostUnits = [&](int id) {
        return toFix32(resolution ? toHost(*resolution, table_.value(id)) : table_.value(id));
    };
    TW_IMAGEINFO info{};
    info.XResolution = inHostUnits(ICAP_XRESOLUTION);
    info.YResolution = inHostUnits(ICAP_YRESOLUTION);
    info.ImageWidth = pixelWidth(page);
    info.ImageLength = settings_.unknownLength ? -1 : std::max(1, pixelHeight(page) + settings_.lengthError);
    info.SamplesPerPixel = static_cast<TW_INT16>(samplesPerPixel(delivered));
    info.BitsPerPixel = static_cast<TW_INT16>(bitsPerPixel(delivered));
    for (int sample = 0; sample < info.SamplesPerPixel; ++sample)
        info.BitsPerSample[sample] = static_cast<TW_INT16>(info.BitsPerPixel / info.SamplesPerPixel);
    info.Planar = planar();
    info.PixelType = static_cast<TW_INT16>(table_.number(ICAP_PIXELTYPE));
    info.Compression = TWCP_NONE;
    return info;
}

void ScanParameters::describeBuffers(TW_SETUPMEMXFER& setup) const {
    constexpr TW_UINT32 smallest = 4 * 1024;
    constexpr TW_UINT32 usual = 64 * 1024;
    constexpr TW_UINT32 largest = 1024 * 1024;
    const auto row = static_cast<TW_UINT32>(stripRowBytes(pixelWidth(request(1))));
    const auto size = [&](unsigned setting, TW_UINT32 automatic) {
        return setting == automaticSize ? std::max(automatic, row) : TW_UINT32{setting};
    };
    setup.MinBufSize = size(settings_.minBufferSize, smallest);
    setup.MaxBufSize = size(settings_.maxBufferSize, largest);
    setup.Preferred = size(settings_.preferredBufferSize, usual);
}

std::size_t ScanParameters::stripRowBytes(int columns) const {
    const PixelKind kind = deliveredKind();
    const int samples = planar() ? samplesPerPixel(kind) : 1;
    const std::size_t bits = static_cast<std::size_t>(bitsPerPixel(kind) / samples);
    const std::size_t bytes = (static_cast<std::size_t>(columns) * bits + 7) / 8;
    return settings_.rowPadding ? (bytes + 3) & ~std::size_t{3} : bytes;
}

}  // namespace vscan
