#include "recording/AcceptedSettings.h"

#include <cstdio>
#include <cstring>

#include "settings/CapabilityText.h"
#include "twain/CapabilityItems.h"

namespace vscan {

using recording::Item;
using recording::Question;
using recording::Triplet;

namespace {

bool isCapability(const Triplet& triplet) {
    return triplet.group == DG_CONTROL && triplet.argumentType == DAT_CAPABILITY;
}

TW_UINT16 wordAt(const recording::Bytes& bytes, std::size_t at) {
    TW_UINT16 value = 0;
    if (at + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

}  // namespace

bool changesSettings(const Triplet& triplet) {
    if (triplet.message != MSG_SET && triplet.message != MSG_RESET) return false;
    return isCapability(triplet) || (triplet.group == DG_IMAGE && (triplet.argumentType == DAT_IMAGELAYOUT ||
                                                                   triplet.argumentType == DAT_RGBRESPONSE));
}

std::uint32_t subjectOf(const Triplet& triplet, const Question& question) {
    if (isCapability(triplet)) return wordAt(question.data, 0);
    return triplet.argumentType == DAT_IMAGELAYOUT ? layoutSubject : responseSubject;
}

Item proposedItem(const Question& question) {
    const recording::Container container{wordAt(question.data, 2), question.block.bytes};
    if (const auto item = container.current()) return *item;
    return {0xFFFF, container.bytes};
}

void enter(AcceptedSettings& settings, const Triplet& triplet, const Question& question) {
    const std::uint32_t subject = subjectOf(triplet, question);
    if (triplet.message == MSG_RESET) {
        settings.erase(subject);
    } else if (isCapability(triplet)) {
        settings[subject] = proposedItem(question);
    } else {
        // Of an area only the frame: hosts leave the rest as it comes.
        const std::size_t size =
            std::min(question.data.size(), subject == layoutSubject ? sizeof(TW_FRAME) : std::size_t{1024});
        const auto begin = question.data.begin();
        settings[subject] = {0xFFFF, {begin, begin + static_cast<std::ptrdiff_t>(size)}};
    }
}

bool affectsImage(std::uint32_t subject) {
    if (subject == ICAP_XFERMECH || subject == ICAP_IMAGEFILEFORMAT) return false;
    // The standard's names begin with CAP_ below 0x100 and around 0x1000, with ICAP_ at 0x100 and 0x1100.
    return subject >= 0x100 && (subject & 0xFF00) != 0x1000;
}

std::string settingText(std::uint32_t subject, const Item* item) {
    if (subject == responseSubject) return item ? "other response curves" : "the first response curves";
    char text[96];
    if (subject == layoutSubject) {
        TW_FRAME frame{};
        if (!item || item->bytes.size() < sizeof frame) return "the first area";
        std::memcpy(&frame, item->bytes.data(), sizeof frame);
        std::snprintf(text, sizeof text, "the area %g,%g,%g,%g", shared::fromFix32(frame.Left),
                      shared::fromFix32(frame.Top), shared::fromFix32(frame.Right),
                      shared::fromFix32(frame.Bottom));
        return text;
    }
    const std::string name = capabilityName(static_cast<int>(subject));
    if (!item) return name + " as it was at first";
    if (shared::itemSize(item->type) == 0 || item->bytes.size() < shared::itemSize(item->type)) return name;
    std::snprintf(text, sizeof text, " %g", shared::itemNumber(item->type, item->bytes.data()));
    return name + text;
}

}  // namespace vscan
