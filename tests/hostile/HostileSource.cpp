#include "HostileSource.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "Watch.h"

namespace {

constexpr uint32_t mostOperations = 500000;  // in one call of the host's
constexpr uint32_t mostListed = 1000;        // the module puts up with 256, in calls within calls with more

template <class Record>
Record& as(TW_MEMREF data) {
    if (data == nullptr) fault("an operation without its record");
    return *static_cast<Record*>(data);
}

void expectTerminated(const char* text, size_t size, const char* what) {
    if (strnlen(text, size) == size) fault("%s has no end", what);
}

// What the module says of itself never changes, but for the name that the host gave.
void checkApplication(const TW_IDENTITY& now, TW_IDENTITY& known) {
    if (known.ProtocolMajor == 0) known = now;
    expectTerminated(now.ProductName, sizeof now.ProductName, "the application's name");
    if (std::memcmp(&now, &known, offsetof(TW_IDENTITY, ProductName)) != 0)
        fault("the application's identity was overwritten");
}

}  // namespace

HostileSource::HostileSource(uint64_t seed) : dice_(seed + 0x10000000) {
    constexpr uint32_t tempers[] = {0, 5, 30, 120, 500};
    lies_ = dice_.pick(tempers);
    failures_ = dice_.pick(tempers) / 2;
    endlessList_ = dice_.inHundred(5);
    if (dice_.inHundred(40)) onlyMechanism_ = dice_.below(3);
    newImage();
}

void HostileSource::beginCall() {
    operationsOfCall_ = undescribed_ = imagesWithoutHost_ = 0;
}

// Mostly what is expected, or a failure; now and then whatever there is.
TW_UINT16 HostileSource::returnCode(TW_UINT16 expected) {
    if (lies()) return static_cast<TW_UINT16>(dice_.inHundred(80) ? dice_.below(10) : dice_.any());
    return dice_.inThousand(failures_) ? +TWRC_FAILURE : expected;
}

TW_UINT16 HostileSource::call(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                              TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    ++progress.operations;
    if (++operationsOfCall_ > mostOperations) fault("a call asks the source for ever");
    checkApplication(*origin, application_);
    // Whoever is asked may do as he likes with the identity that he is addressed by.
    if (destination != nullptr && lies()) nameTexts(*destination);
    meanwhile();
    const TW_UINT16 code = answer(group, argumentType, message, data);
    meanwhile();
    return code;
}

TW_UINT16 HostileSource::answer(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    switch (argumentType) {
        case DAT_PARENT:
            as<HWND>(data);
            return move(message);
        case DAT_IDENTITY:
            return identity(message, as<TW_IDENTITY>(data));
        case DAT_USERINTERFACE:
            parent = as<TW_USERINTERFACE>(data).hParent;
            return move(message);
        case DAT_STATUS: {
            const uint32_t code = lies() ? dice_.any() : dice_.below(24);
            // An operation error would end what is to be endless.
            as<TW_STATUS>(data) = {static_cast<TW_UINT16>(endlessImages_ ? +TWCC_BUMMER : code), 0};
            return returnCode(TWRC_SUCCESS);
        }
        case DAT_EVENT:
            return event(as<TW_EVENT>(data));
        case DAT_CAPABILITY:
            return capability(message, as<TW_CAPABILITY>(data));
        case DAT_PENDINGXFERS:
            return pending(as<TW_PENDINGXFERS>(data));
        case DAT_SETUPMEMXFER:
            return setupMemory(as<TW_SETUPMEMXFER>(data));
        case DAT_SETUPFILEXFER:
            expectTerminated(as<TW_SETUPFILEXFER>(data).FileName, sizeof(TW_STR255), "a file name");
            return returnCode(TWRC_SUCCESS);
        case DAT_IMAGEINFO:
            return imageInfo(as<TW_IMAGEINFO>(data));
        case DAT_IMAGEMEMXFER:
            return nextStrip(as<TW_IMAGEMEMXFER>(data));
        case DAT_IMAGENATIVEXFER:
            return nativeDib(as<HGLOBAL>(data));
        case DAT_IMAGEFILEXFER:
            return returnCode(TWRC_XFERDONE);
        case DAT_PALETTE8:
            return palette(as<TW_PALETTE8>(data));
        case DAT_IMAGELAYOUT:
            as<TW_IMAGELAYOUT>(data).PageNumber = group;
            return returnCode(TWRC_SUCCESS);
        default:
            return returnCode(TWRC_SUCCESS);
    }
}

TW_UINT16 HostileSource::move(TW_UINT16 message) {
    const TW_UINT16 code = returnCode(TWRC_SUCCESS);
    const bool done = code == TWRC_SUCCESS || (code == TWRC_CHECKSTATUS && message == MSG_ENABLEDS);
    constexpr struct {
        TW_UINT16 message;
        int state;
    } moves[] = {{MSG_OPENDSM, 3}, {MSG_CLOSEDSM, 2}, {MSG_OPENDS, 4},
                 {MSG_CLOSEDS, 3}, {MSG_ENABLEDS, 5}, {MSG_DISABLEDS, 4}};
    for (const auto& known : moves)
        if (done && known.message == message) state_ = known.state;
    if (message == MSG_ENABLEDS) {
        images_ = 0;
        endlessImages_ = dice_.inHundred(10);
    }
    return code;
}

// To the brim, now and then.
void HostileSource::nameTexts(TW_IDENTITY& identity) {
    for (TW_STR32* text :
         {&identity.Version.Info, &identity.Manufacturer, &identity.ProductFamily, &identity.ProductName}) {
        if (lies()) std::memset(*text, 'x', sizeof *text);
    }
}

TW_UINT16 HostileSource::identity(TW_UINT16 message, TW_IDENTITY& identity) {
    if (message == MSG_GETFIRST) listed_ = 0;
    if (message == MSG_GETNEXT && ++listed_ > mostListed) fault("asks for sources for ever");
    if (message != MSG_OPENDS && message != MSG_CLOSEDS) {
        constexpr const char* manufacturers[] = {"KAVRO", "Other"};
        constexpr const char* names[] = {"Plain Source", "WIA-Plain", "Other Source"};
        std::strcpy(identity.Manufacturer, dice_.pick(manufacturers));
        std::strcpy(identity.ProductName, dice_.pick(names));
        if (lies()) dice_.fill(&identity, sizeof identity);
    }
    nameTexts(identity);
    if (message == MSG_GETNEXT && !endlessList_ && dice_.inHundred(20)) return TWRC_ENDOFLIST;
    return move(message);
}

TW_UINT16 HostileSource::event(TW_EVENT& event) {
    if (state_ == 5 && dice_.inHundred(60)) event.TWMessage = MSG_XFERREADY;
    if (dice_.inHundred(5)) event.TWMessage = MSG_CLOSEDSREQ;
    if (lies()) event.TWMessage = static_cast<TW_UINT16>(dice_.any());
    return returnCode(dice_.inHundred(50) ? TWRC_DSEVENT : TWRC_NOTDSEVENT);
}

HGLOBAL HostileSource::strangeHandle() {
    HGLOBAL handle = nullptr;
    switch (dice_.below(3)) {
        case 0:
            handle = memory.allocate(20, Owner::Source);
            memory.free(handle, Owner::Source);
            break;
        case 1:
            handle = reinterpret_cast<HGLOBAL>(static_cast<uintptr_t>(dice_.any() | 1));
            break;
    }
    memory.expectForeign(handle);
    return handle;
}

// What stays the source's own is freed some time later.
void HostileSource::keep(HGLOBAL handle) {
    HGLOBAL& place = kept_[keptNext_++ % std::size(kept_)];
    memory.free(place, Owner::Source);
    place = memory.isLive(handle) ? handle : nullptr;
}

HGLOBAL HostileSource::makeContainer(TW_CAPABILITY& cap) {
    constexpr TW_UINT16 contypes[] = {TWON_ONEVALUE,    TWON_ONEVALUE, TWON_ENUMERATION,
                                      TWON_ENUMERATION, TWON_RANGE,    TWON_ARRAY};
    cap.ConType = lies() ? static_cast<TW_UINT16>(dice_.any()) : dice_.pick(contypes);
    if (lies()) return strangeHandle();
    const auto itemType = static_cast<TW_UINT16>(lies() ? dice_.any() : dice_.below(8));
    constexpr uint32_t widths[] = {1, 2, 4, 1, 2, 4, 2, 4};
    const uint32_t width = itemType < 8 ? widths[itemType] : 4;
    uint32_t count = 1 + dice_.below(dice_.inHundred(2) ? 3000 : 12);
    uint32_t size = cap.ConType == TWON_ENUMERATION ? 14 + count * width : cap.ConType == TWON_RANGE ? 22 : 6;
    if (cap.ConType == TWON_ARRAY) size = 6 + count * width;
    if (lies()) size = dice_.below(size + 8);
    const HGLOBAL handle = memory.allocate(size, Owner::Source);
    uint8_t* const bytes = memory.lock(handle);
    if (bytes == nullptr) return handle;
    // Small numbers mean something to most capabilities.
    uint8_t image[14 + 3012 * 4] = {};
    if (dice_.inHundred(30)) dice_.fill(image, std::min<size_t>(size, sizeof image));
    for (uint32_t at = cap.ConType == TWON_ENUMERATION ? 14 : 2; at + 4 <= sizeof image && at < size; at += 4)
        image[at] = static_cast<uint8_t>(dice_.below(4));
    std::memcpy(image, &itemType, 2);
    if (cap.ConType == TWON_ENUMERATION || cap.ConType == TWON_ARRAY) {
        uint32_t numbers[] = {count, dice_.below(count), dice_.below(count)};
        for (uint32_t& number : numbers) {
            if (lies()) number = dice_.inHundred(50) ? number + dice_.below(4) : dice_.any();
        }
        std::memcpy(image + 2, numbers, cap.ConType == TWON_ENUMERATION ? 12 : 4);
    }
    std::memcpy(bytes, image, std::min<size_t>(size, sizeof image));
    memory.unlock(handle);
    return handle;
}

TW_UINT16 HostileSource::takeContainer(TW_CAPABILITY& cap) {
    if (&cap != hostsRecord) {
        TW_ENUMERATION head = {};
        const uint32_t size = static_cast<uint32_t>(memory.size(cap.hContainer));
        if (!memory.isLive(cap.hContainer)) fault("sets capability %04X without a container", cap.Cap);
        const uint8_t* const bytes = memory.lock(cap.hContainer);
        if (bytes == nullptr) return TWRC_FAILURE;
        std::memcpy(&head, bytes, std::min<size_t>(size, offsetof(TW_ENUMERATION, ItemList)));
        memory.unlock(cap.hContainer);
        if (cap.ConType == TWON_ENUMERATION ? head.NumItems > 9 || size < 14 + 2 * head.NumItems
                                            : cap.ConType != TWON_ONEVALUE || size < sizeof(TW_ONEVALUE))
            fault("sets capability %04X with a container that is none", cap.Cap);
        // The low half of what a container of one value holds lies where a list has its length.
        const bool isRefused = cap.Cap == ICAP_XFERMECH && cap.ConType == TWON_ONEVALUE &&
                               onlyMechanism_ < 3 && (head.NumItems & 0xFFFF) != onlyMechanism_;
        if (isRefused) return TWRC_FAILURE;
        if (lies() && dice_.inHundred(20)) {
            // Another one in its place; the first is the source's from then on.
            memory.give(cap.hContainer, Owner::Source);
            keep(cap.hContainer);
            cap.hContainer = makeContainer(cap);
            memory.give(cap.hContainer, Owner::Module);
        }
    }
    return returnCode(TWRC_SUCCESS);
}

TW_UINT16 HostileSource::capability(TW_UINT16 message, TW_CAPABILITY& cap) {
    if (message == MSG_SET) return takeContainer(cap);
    if (dice_.inThousand(failures_)) return TWRC_FAILURE;
    // A container is the asker's only with a success.
    const TW_UINT16 code = returnCode(TWRC_SUCCESS);
    const HGLOBAL handle = cap.hContainer = makeContainer(cap);
    if (code == TWRC_SUCCESS)
        memory.give(handle, &cap == hostsRecord ? Owner::Host : Owner::Module);
    else
        keep(handle);
    return code;
}
