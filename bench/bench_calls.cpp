// What a call through the module takes, beside the same operations called bare: by hand, as a host without
// the module would write them, each container locked and unlocked once. The source is the virtual scanner,
// without a manager between; the long lists are answered at once.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "support/BenchModule.h"
#include "support/Measure.h"
#include "support/TableSource.h"

namespace {

using bench::TableSource;

// The operations of one call of the module, to be called again without it.
class Replay {
public:
    Replay(TableSource& source, const std::function<void()>& call) : entry_(source.entry()) {
        source.recorder = [&](const TableSource::Operation& operation) { record(operation); };
        call();
        source.recorder = nullptr;
    }

    void byHand() const {
        for (const Step& step : steps_) {
            Data data = step.data;
            auto& cap = data.capability;
            const bool gives = step.argumentType == DAT_CAPABILITY && step.message != MSG_SET;
            const bool sends = step.argumentType == DAT_CAPABILITY && step.message == MSG_SET;
            if (sends) {
                cap.hContainer = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, step.block.size());
                std::memcpy(GlobalLock(cap.hContainer), step.block.data(), step.block.size());
                GlobalUnlock(cap.hContainer);
            }
            const TW_UINT16 code =
                entry_(&application_, &source_, step.group, step.argumentType, step.message, &data);
            if (gives && code == TWRC_SUCCESS) {
                seen_ = *static_cast<const volatile uint8_t*>(GlobalLock(cap.hContainer));
                GlobalUnlock(cap.hContainer);
            }
            if (sends || (gives && code == TWRC_SUCCESS)) GlobalFree(cap.hContainer);
        }
    }
    size_t operations() const { return steps_.size(); }

private:
    union Data {
        TW_CAPABILITY capability;
        TW_IDENTITY identity;
        TW_STATUS status;
        TW_USERINTERFACE userInterface;
        HWND parent;
    };
    struct Step {
        TW_UINT32 group;
        TW_UINT16 argumentType, message;
        Data data;
        std::vector<uint8_t> block;
    };

    void record(const TableSource::Operation& operation) {
        Step step = {operation.group, operation.argumentType, operation.message, {}, {}};
        std::memcpy(&step.data, operation.data, sizeOf(operation.argumentType));
        if (operation.argumentType == DAT_CAPABILITY && operation.message == MSG_SET) {
            const HGLOBAL container = step.data.capability.hContainer;
            const auto* bytes = static_cast<const uint8_t*>(GlobalLock(container));
            step.block.assign(bytes, bytes + GlobalSize(container));
            GlobalUnlock(container);
        }
        steps_.push_back(step);
    }
    static size_t sizeOf(TW_UINT16 argumentType) {
        switch (argumentType) {
            case DAT_CAPABILITY:
                return sizeof(TW_CAPABILITY);
            case DAT_IDENTITY:
                return sizeof(TW_IDENTITY);
            case DAT_PARENT:
                return sizeof(HWND);
            case DAT_USERINTERFACE:
                return sizeof(TW_USERINTERFACE);
            default:
                return sizeof(TW_STATUS);
        }
    }

    DSMENTRYPROC entry_;
    std::vector<Step> steps_;
    mutable TW_IDENTITY application_ = {}, source_ = {};
    mutable uint8_t seen_ = 0;
};

std::vector<uint32_t> numbers(uint32_t count, uint32_t step) {
    std::vector<uint32_t> list;
    for (uint32_t i = 0; i < count; ++i)
        list.push_back((i + 1) * step);
    return list;
}

struct Row {
    const char* name;
    double limit;
    std::function<void()> call;
};

void measure(bench::Verdicts& verdicts, TableSource& source, const Row& row) {
    const Replay replay{source, row.call};
    bench::require(replay.operations() != 0, row.name);
    verdicts.row(row.name, row.limit, [&] {
        bench::Race race;
        const size_t module = race.add(row.call);
        const size_t hand = race.add([&] { replay.byHand(); });
        race.run(801);
        char remark[80];
        std::snprintf(remark, sizeof remark, "%u operations, %.2f us by hand",
                      static_cast<unsigned>(replay.operations()), race.seconds(hand) * 1e6);
        return race.ratio(module, hand, remark);
    });
}

}  // namespace

int main() try {
    TableSource source;
    source.putScannerBehind();
    source.give(ICAP_SUPPORTEDSIZES, TWON_ENUMERATION, TWTY_UINT16, numbers(12, 1));
    source.give(ICAP_XRESOLUTION, TWON_ENUMERATION, TWTY_FIX32, numbers(100, 10));
    const bench::ScanModule module;
    const bench::Host host;
    bench::require(module.smOpenDS(host.window(), nullptr) == 0, "smOpenDS");

    bench::Verdicts verdicts{"Calls, as multiples of the same operations by hand"};
    unsigned short value, least, most;
    const Row rows[] = {
        {"getter, one value", 1.15, [&] { module.smGetPixelFlavor(&value); }},
        {"setter", 1.25, [&] { module.smSetPixelType(SM_PIXEL_GRAY); }},
        {"supported list of 12", 1.6, [&] { module.smGetSupportedPaperSize(&value); }},
        {"resolution from a list of 100", 2.5, [&] { module.smGetXResolution(&value, &least, &most); }},
        {"close and open a source", 1.75,
         [&] {
             module.smCloseDS();
             module.smOpenDS(host.window(), nullptr);
         }},
    };
    for (const Row& row : rows)
        measure(verdicts, source, row);

    bench::require(module.smEnableDS(0, 0) == 0, "smEnableDS");
    MSG message = {host.window(), WM_MOUSEMOVE, 0, 0, 0, {}};
    TW_IDENTITY application = {}, dataSource = {};
    verdicts.row("a message for smIsDSEvent, source enabled", 1.25, [&] {
        bench::Race race;
        const size_t filtered = race.add([&] { module.smIsDSEvent(&message); });
        const size_t bare = race.add([&] {
            TW_EVENT event = {&message, MSG_NULL};
            source.entry()(&application, &dataSource, DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT, &event);
        });
        race.run(801);
        return race.ratio(filtered, bare);
    });
    return verdicts.end();
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
