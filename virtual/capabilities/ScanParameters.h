// Everything that decides how a page is scanned: the capabilities, the frame, the response curves.
#pragma once

#include "capabilities/CapabilityTable.h"
#include "page/PageRenderer.h"
#include "settings/Settings.h"

namespace vscan {

class ScanParameters {
public:
    // `paper`: the size of what lies on the glass, the first frame.
    ScanParameters(const VirtualScannerSettings& settings, PaperSize paper);

    // Everything as it was at first.
    void restart();

    const CapabilityTable& capabilities() const { return table_; }

    // Values of a capability between the table's units and those of ICAP_UNITS.
    double toHost(const Capability& capability, double value) const;
    double fromHost(const Capability& capability, double value) const;

    // `value` and `items` in the host's units.
    SetResult set(const Capability& capability, double value, const std::vector<double>& items);
    // What the person at the scanner chooses: `value` in the table's own units, of hidden capabilities too.
    SetResult choose(int id, double value);
    void reset(const Capability& capability);
    void assign(int id, double value) { table_.assign(id, value); }

    // DAT_IMAGELAYOUT
    void describeFrame(TW_IMAGELAYOUT& layout, bool standard) const;
    SetResult setFrame(const TW_FRAME& frame);
    void resetFrame();

    void setResponse(const std::array<ToneCurve, 3>& response) { response_ = response; }
    const std::array<ToneCurve, 3>& response() const { return response_; }

    PageRequest request(int pageNumber) const;
    bool planar() const;
    TW_IMAGEINFO imageInfo() const;
    // The buffer sizes told to the host.
    void describeBuffers(TW_SETUPMEMXFER& setup) const;
    // Bytes of one row of a memory transfer.
    std::size_t stripRowBytes(int columns) const;

private:
    PixelKind chosenKind() const;
    // The chosen kind, as far as the chosen mechanism can deliver it: DIBs and files hold less than memory
    // does.
    PixelKind deliveredKind() const;
    double perInch(bool vertical) const;
    SetResult change(const Capability& capability, double value, const std::vector<double>& items);
    void frameFollowsPaper();

    const VirtualScannerSettings& settings_;
    CapabilityTable table_;
    const Area standardFrame_;
    Area frame_;
    std::array<ToneCurve, 3> response_ = ToneControls::identityResponse();
};

}  // namespace vscan
