// The settings of the virtual scanner: one field per key of vscan.ini.
#pragma once

#include <string>
#include <vector>

#include "scanmodule/twain_types.h"

namespace vscan {

// When the source is enabled with nothing in the feeder.
enum class EmptyFeeder { Refuse, CloseRequest, Cancel };
// What goes wrong when the source is opened.
enum class OpenFault { None, Offline, Busy, Brightness, Hang, Crash };
// What happens at the page that fails.
enum class FailBy { Code, Hang, Crash, Exit };
// Does the scanner have a feeder, and is it chosen at first?
enum class Feeder { On, Off, None };
// The source's own window: there is none; it stays open for more batches until the person closes it; it
// closes by itself after a batch; it stays, but opens behind the host's window.
enum class WindowBehavior { None, Stay, Close, Behind };
// Which recorded pages a replay delivers: those recorded under the host's settings, or the nearest.
enum class ReplayImages { Matching, Any };
// Ways to answer a capability with a container that hosts don't expect.
enum class OddContainers { None, Array, ItemType, Truncated, Index, Count, NoHandle };

// Ways in which the description of a strip can be false (bits). The bytes really written always stay inside
// the host's buffer.
enum StripFault : unsigned {
    StripZeroBytesPerRow = 1,  // BytesPerRow 0
    StripExtraRows = 2,        // Rows beyond what was written
    StripExtraBytes = 4,       // BytesWritten beyond the buffer
    StripWideColumns = 8,      // Columns wider than the row
    StripOversized = 16,       // Rows and BytesWritten agree, and both go beyond the buffer
    StripShortLast = 32        // the last strip brings half of the rows it tells
};

constexpr unsigned automaticSize = 0xFFFFFFFEu;  // a buffer size that follows from the page

struct PaperSize {
    double width = 210 / 25.4;  // inches
    double height = 297 / 25.4;
};

struct VirtualScannerSettings {
    // Identity
    std::string manufacturer = "KAVRO";
    std::string productFamily = "KAVRO Virtual";
    std::string productName = "KAVRO Virtual Scanner";
    int protocolMinor = 9;
    int firmwareVersion = 0x0105;

    // Page
    std::string page;  // a BMP file; empty: the generated test page
    PaperSize paper;
    double bedWidth = 11.7;  // inches
    double bedHeight = 17.0;

    // What the capabilities offer and start with
    std::vector<int> pixelTypes{TWPT_BW, TWPT_GRAY, TWPT_RGB, TWPT_PALETTE};
    int pixelType = TWPT_RGB;
    int bitDepth = 0;  // 0: the usual one of the pixel type
    int resolution = 150;
    int maxResolution = 1200;
    int units = TWUN_INCHES;
    int transferMechanism = TWSX_NATIVE;
    bool inverseResolution = false;

    // Feeder
    Feeder feeder = Feeder::On;
    int pages = 1;
    bool refill = true;
    EmptyFeeder emptyFeeder = EmptyFeeder::Refuse;
    bool unknownPendingCount = false;
    int pendingCountError = 0;

    // Window
    WindowBehavior window = WindowBehavior::Stay;
    bool uiControllable = true;

    // Strips
    bool planar = false;
    bool rowPadding = true;
    bool lowByteFirst = false;
    int stripRows = 0;     // 0: as many as the buffer holds
    int stripColumns = 0;  // 0: whole rows
    unsigned minBufferSize = automaticSize;
    unsigned maxBufferSize = automaticSize;
    unsigned preferredBufferSize = automaticSize;
    unsigned stripFaults = 0;  // StripFault bits

    // Misbehaviour
    OpenFault openFault = OpenFault::None;
    int jamAtPage = 0;
    int cancelAtPage = 0;
    int failAtPage = 0;
    int faultAfterStrip = 0;
    int failConditionCode = TWCC_OPERATIONERROR;
    FailBy failBy = FailBy::Code;
    bool unknownLength = false;
    int lengthError = 0;  // rows that the announced length is too long (or, negative, too short)
    int delay = 0;        // milliseconds
    bool prints = false;
    bool readsInput = false;
    std::vector<int> refusedMechanisms;
    std::vector<int> refusedCapabilities;
    std::vector<int> readOnlyCapabilities;
    OddContainers oddContainers = OddContainers::None;

    // Replay
    std::string replay;  // a recording; empty: the scanner answers for itself
    ReplayImages replayImages = ReplayImages::Matching;
    bool replayDelays = false;
};

}  // namespace vscan
