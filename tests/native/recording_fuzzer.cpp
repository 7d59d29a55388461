// A recording of anybody's, replayed: the file is whatever it is, the host does what it likes.
#include <algorithm>
#include <fstream>
#include <iterator>

#include "World.h"
#include "recording/Replayer.h"

namespace {

using recording::Triplet;

constexpr char path[] = "fuzzed.rec";
constexpr Triplet operations[] = {{DG_CONTROL, DAT_CAPABILITY, MSG_GET},
                                  {DG_CONTROL, DAT_CAPABILITY, MSG_SET},
                                  {DG_CONTROL, DAT_CAPABILITY, MSG_GETCURRENT},
                                  {DG_CONTROL, DAT_CAPABILITY, MSG_GETDEFAULT},
                                  {DG_CONTROL, DAT_CAPABILITY, MSG_RESET},
                                  {DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS},
                                  {DG_IMAGE, DAT_IMAGEMEMXFER, MSG_GET},
                                  {DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET},
                                  {DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET},
                                  {DG_IMAGE, DAT_IMAGELAYOUT, MSG_GET},
                                  {DG_IMAGE, DAT_IMAGELAYOUT, MSG_SET},
                                  {DG_CONTROL, DAT_PENDINGXFERS, MSG_ENDXFER},
                                  {DG_CONTROL, DAT_STATUS, MSG_GET},
                                  {DG_CONTROL, DAT_SETUPFILEXFER, MSG_GET},
                                  {DG_IMAGE, 0x8001, MSG_GET},
                                  {DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT}};
constexpr TW_UINT16 capabilities[] = {ICAP_XRESOLUTION, ICAP_PIXELTYPE, ICAP_UNITS, 0x1024};

void operate(vscan::Replayer& replayer, Script& script) {
    const Triplet& triplet = operations[script.byte() % std::size(operations)];
    alignas(8) uint8_t record[4096] = {};
    uint8_t strip[64];
    TW_CAPABILITY cap = {capabilities[script.byte() % std::size(capabilities)], TWON_ONEVALUE, nullptr};
    TW_ONEVALUE value = {static_cast<TW_UINT16>(script.byte() % 10), script.number()};
    if (triplet.argumentType == DAT_CAPABILITY) {
        if (triplet.message == MSG_SET) cap.hContainer = foreignBlock(&value, sizeof value);
        std::memcpy(record, &cap, sizeof cap);
    }
    if (triplet.argumentType == DAT_IMAGEMEMXFER) {
        TW_IMAGEMEMXFER request = {};
        request.Memory = {TWMF_APPOWNS | TWMF_POINTER, script.byte() % sizeof strip, strip};
        std::memcpy(record, &request, sizeof request);
    }
    const TW_UINT16 result = replayer.call(triplet, record);
    std::memcpy(&cap, record, sizeof cap);
    if (triplet.argumentType == DAT_CAPABILITY && (triplet.message == MSG_SET || result != TWRC_FAILURE))
        GlobalFree(cap.hContainer);
    TW_UINT32 image = 0;
    std::memcpy(&image, record, sizeof image);
    if (triplet.argumentType == DAT_IMAGENATIVEXFER && image != 0)
        GlobalFree(reinterpret_cast<HGLOBAL>(static_cast<UINT_PTR>(image)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Script script(bytes, size);
    // At the end, what the host does; before that the file.
    const size_t steps = script.byte() % 24;
    const size_t file = size - (size > 0);
    const size_t acts = std::min(file, steps * 8);
    Script host(bytes + size - acts, acts);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes + size - file), static_cast<std::streamsize>(file - acts));
    vscan::VirtualScannerSettings settings;
    settings.replay = path;
    settings.replayImages = steps % 2 ? vscan::ReplayImages::Any : vscan::ReplayImages::Matching;
    {
        vscan::Replayer replayer(settings, [](TW_UINT16) {});
        TW_IDENTITY own = {};
        replayer.call({DG_CONTROL, DAT_IDENTITY, MSG_GET}, &own);
        replayer.call({DG_CONTROL, DAT_IDENTITY, MSG_OPENDS}, &own);
        while (!host.isOver())
            operate(replayer, host);
        if (replayer.state() > 3) replayer.call({DG_CONTROL, DAT_IDENTITY, MSG_CLOSEDS}, &own);
        if (replayer.state() != 3) fail("a replay can't be closed");
    }
    endWorld();
    return 0;
}
