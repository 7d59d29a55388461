// Memory transfer: hands a page out strip by strip.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "capabilities/Outcome.h"
#include "capabilities/ScanParameters.h"
#include "page/PageRenderer.h"
#include "settings/Settings.h"

namespace vscan {

// Only a row is ever held.
class MemoryTransfer {
public:
    MemoryTransfer(const ScanParameters& parameters, const VirtualScannerSettings& settings,
                   const PageContent& content, int pageNumber);

    int stripsDelivered() const { return strips_; }
    bool finished() const { return plane_ >= planes_; }
    // Fills `length` bytes at `buffer` and describes what they hold. TWRC_XFERDONE with the last strip;
    // TWCC_BADVALUE when not even one row fits.
    Outcome nextStrip(std::uint8_t* buffer, std::size_t length, TW_IMAGEMEMXFER& description);

private:
    int stripColumns() const;
    void copyRow(int y, int columns, std::uint8_t* target);
    void advance(int columns, int rows);
    void lie(TW_IMAGEMEMXFER& description, std::size_t length) const;

    const ScanParameters& parameters_;
    const VirtualScannerSettings& settings_;
    PageRenderer renderer_;
    std::vector<std::uint8_t> row_;
    int planes_;
    int sampleBytes_;  // of 8- and 16-bit samples
    int plane_ = 0;
    int x_ = 0;
    int y_ = 0;
    int bandRows_ = 0;  // rows of the strips that stand side by side
    int strips_ = 0;
};

}  // namespace vscan
