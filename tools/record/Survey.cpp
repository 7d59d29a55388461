#include "record/Survey.h"

#include <vector>

namespace record {

namespace {

struct Span {
    TW_UINT16 first, last;
};

// Where the standard has put its capabilities, and the first ones of makers.
constexpr Span capabilities[] = {{CAP_XFERCOUNT, CAP_XFERCOUNT},
                                 {ICAP_COMPRESSION, ICAP_XFERMECH},
                                 {0x1000, 0x1060},
                                 {0x1100, 0x1165},
                                 {CAP_CUSTOMBASE + 1, CAP_CUSTOMBASE + 0x20}};

struct Query {
    TW_UINT32 group;
    TW_UINT16 argumentType, message;
};

constexpr Query queries[] = {{DG_IMAGE, DAT_IMAGELAYOUT, MSG_GET},
                             {DG_IMAGE, DAT_IMAGELAYOUT, MSG_GETDEFAULT},
                             {DG_CONTROL, DAT_SETUPMEMXFER, MSG_GET},
                             {DG_CONTROL, DAT_SETUPFILEXFER, MSG_GET},
                             {DG_CONTROL, DAT_SETUPFILEXFER, MSG_GETDEFAULT},
                             {DG_CONTROL, DAT_PENDINGXFERS, MSG_GET},
                             {DG_CONTROL, DAT_XFERGROUP, MSG_GET},
                             {DG_IMAGE, DAT_PALETTE8, MSG_GET},
                             {DG_IMAGE, DAT_RGBRESPONSE, MSG_GET}};

// Asks, and after a failure for its reason.
bool succeeds(ManagerTap& tap, const Query& query, TW_MEMREF data) {
    if (tap.ask(query.group, query.argumentType, query.message, data) != TWRC_FAILURE) return true;
    TW_STATUS status{};
    tap.ask(DG_CONTROL, DAT_STATUS, MSG_GET, &status);
    return false;
}

bool knowsCapability(ManagerTap& tap, TW_UINT16 capability) {
    bool known = false;
    for (const TW_UINT16 message : {MSG_QUERYSUPPORT, MSG_GET, MSG_GETCURRENT, MSG_GETDEFAULT}) {
        TW_CAPABILITY request{capability, TWON_DONTCARE16, nullptr};
        if (!succeeds(tap, {DG_CONTROL, DAT_CAPABILITY, message}, &request)) continue;
        known = true;
        if (request.hContainer) GlobalFree(request.hContainer);
    }
    return known;
}

}  // namespace

int surveySource(ManagerTap& tap) {
    int known = 0;
    for (const Span& span : capabilities)
        for (unsigned capability = span.first; capability <= span.last; ++capability)
            known += knowsCapability(tap, static_cast<TW_UINT16>(capability));
    constexpr std::size_t roomForAny = 4096;
    for (const Query& query : queries) {
        std::vector<std::uint8_t> record(roomForAny);
        succeeds(tap, query, record.data());
    }
    return known;
}

}  // namespace record
