// The capabilities of the scanner: what each offers, starts with and holds now.
#pragma once

#include <vector>

#include "scanmodule/twain_types.h"
#include "settings/Settings.h"

namespace vscan {

enum class CapabilityShape { OneValue, Enumeration, Range, Array };

// How a value depends on ICAP_UNITS. The table always holds inches and pixels per inch.
enum class CapabilityUnit { None, PerInch, Width, Height };

struct Capability {
    int id = 0;
    TW_UINT16 itemType = TWTY_UINT16;
    CapabilityShape shape = CapabilityShape::OneValue;
    CapabilityUnit unit = CapabilityUnit::None;
    bool settable = true;
    int needs = 0;        // a capability that must be on while the host changes this one
    bool hidden = false;  // refused by the settings: it works, but the host is told it doesn't exist
    double current = 0;
    double standard = 0;           // the default
    std::vector<double> choices;   // what an enumeration offers now, or an array's items
    std::vector<double> possible;  // all that an enumeration can be asked to offer
    double minimum = 0;            // range and one value
    double maximum = 0;
    double step = 0;  // 0: values needn't snap to steps
};

// What became of a proposed value.
enum class SetResult { Done, Adjusted, Refused };

class CapabilityTable {
public:
    explicit CapabilityTable(const VirtualScannerSettings& settings);

    // What the host may know of; null for a hidden capability too.
    const Capability* offered(int id) const;
    // What the scanner has, hidden or not.
    const Capability* known(int id) const;
    // The present value; 0 for a capability that the scanner doesn't have.
    double value(int id) const;
    int number(int id) const { return static_cast<int>(value(id)); }
    bool flag(int id) const { return value(id) != 0; }

    // A value from the host, in the table's own units; `items`, if any, restrict what an enumeration offers.
    SetResult set(int id, double value, const std::vector<double>& items);
    void reset(int id);
    // Sets from inside, read-only or not.
    void assign(int id, double value);
    // Sets the default, and the present value with it.
    void setStandard(int id, double value);

private:
    Capability* find(int id);
    void add(Capability capability) { capabilities_.push_back(std::move(capability)); }
    void addImageCapabilities(const VirtualScannerSettings& settings);
    void addGeometry(const VirtualScannerSettings& settings);
    void addFeederAndTransfer(const VirtualScannerSettings& settings);
    void addToneAndVendor(const VirtualScannerSettings& settings);
    void hideRefused(const VirtualScannerSettings& settings);
    void offerBitDepths();

    std::vector<Capability> capabilities_;
    int firstBitDepth_;
};

}  // namespace vscan
