#include "HostileHost.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Arguments.h"
#include "Watch.h"

namespace {

constexpr int deepest = 3;  // calls within calls
enum Message { CloseRequest, XferStart, XferData, XferEnd, GetName, FileEnd, Closed };
constexpr const char* messageNames[] = {SM_MESSAGE_CLOSEDSREQ,        SM_MESSAGE_XFERSTART,
                                        SM_MESSAGE_XFERDATA,          SM_MESSAGE_XFEREND,
                                        SM_MESSAGE_SCANTOFILEGETNAME, SM_MESSAGE_SCANTOFILEXFEREND,
                                        SM_MESSAGE_SCANTOFILEDSCLOSED};
constexpr uint8_t untouched = 0xEE;
volatile uint8_t sink;

bool isNamed(const char* name, std::initializer_list<const char*> names) {
    for (const char* other : names)
        if (std::strcmp(name, other) == 0) return true;
    return false;
}

}  // namespace

template <class Result, class... Types>
void HostileHost::invoke(Result(WINAPI* function)(Types...)) {
    const HostDice host{dice_, *window_};
    std::tuple<Argument<Types>...> arguments{(static_cast<void>(sizeof(Types)), host)...};
    std::apply([&](auto&... each) { function(each.get()...); }, arguments);
}

HostileHost::HostileHost(uint64_t seed, Module& module, HostileSource& source, Surroundings& surroundings)
    : dice_(seed + 0x30000000), module_(module), source_(source), surroundings_(surroundings) {
    constexpr uint32_t tempers[] = {0, 1, 10, 60};
    interrupts_ = dice_.pick(tempers);
    hasOneShots_ = dice_.inHundred(35);
    cancels_ = dice_.inHundred(50) ? dice_.below(8) : 0;
#define SM_FUNCTION(name, ordinal, bytes) exports_.push_back({#name, [this] { invoke(module_.name); }});
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
    exports_.push_back({"DisableWnds", [this] { disableWindows(); }});
    for (Export& known : exports_) {
        if (isNamed(known.name, {"ReadBlock"})) known.call = [this] { readBlock(); };
        if (isNamed(known.name, {"CapNegotiate"})) known.call = [this] { negotiate(); };
    }
    for (const char* name : messageNames)
        messages_.push_back(RegisterWindowMessageA(name));
    makeWindow();
    source_.meanwhile = surroundings_.meanwhile = [this] { meanwhile(); };
}

HostileHost::~HostileHost() {
    source_.meanwhile = surroundings_.meanwhile = [] {};
}

void HostileHost::makeWindow() {
    windowChanged_ = true;
    if (window_ && source_.parent == *window_) source_.hostIsGone = true;
    window_.reset();
    window_ = std::make_unique<MessageWindow>(
        "HostileHost",
        [this](UINT message, WPARAM wParam, LPARAM lParam) { return handle(message, wParam, lParam); });
}

const HostileHost::Export& HostileHost::exportNamed(const char* name) const {
    for (const Export& known : exports_)
        if (isNamed(name, {known.name})) return known;
    fault("no export %s", name);
}

// The first one-shot scan puts the module into that mode for good: not in every run.
const HostileHost::Export& HostileHost::anyExport() {
    const Export& any = exports_[dice_.below(exports_.size())];
    return hasOneShots_ || !isNamed(any.name, {"PrestoScan"}) ? any : exportNamed("IsDSEvent");
}

// What a sensible host would call next, so that runs get somewhere.
const HostileHost::Export& HostileHost::naturalExport() {
    constexpr const char* closed[] = {"OpenDS",   "OpenDS",   "OpenDS",
                                      "SelectDS", "GetAllDS", "SetDefaultDriver"};
    constexpr const char* open[] = {"EnableDS", "EnableDS", "EnableDS", "EnableDS", "SetXferMech", "CloseDS"};
    constexpr const char* enabled[] = {"IsDSEvent", "IsDSEvent", "IsDSEvent", "IsDSEvent",
                                       "ReadBlock", "ReadBlock", "DisableDS"};
    if (hasOneShots_ && source_.state() < 5 && dice_.inHundred(60)) return exportNamed("PrestoScan");
    switch (source_.state()) {
        case 5:
            return exportNamed(dice_.pick(enabled));
        case 4:
            return exportNamed(dice_.pick(open));
        default:
            return exportNamed(dice_.pick(closed));
    }
}

void HostileHost::call(const Export& chosen) {
    ++progress.calls;
    ++progress.callsOfSeed;
    ++depth_;
    if (isNamed(chosen.name, {"OpenDS", "PrestoScan"})) {
        if (depth_ > 1) windowChanged_ = true;
        source_.hostIsGone = false;
        source_.parent = nullptr;
    }
    chosen.call();
    if (batchDepth_ == depth_) batchDepth_ = 0;
    --depth_;
}

void HostileHost::step() {
    const Export& chosen = dice_.inHundred(65) ? naturalExport() : anyExport();
    progress.call = chosen.name;
    if (progress.tells) std::fprintf(stderr, "%u %s\n", progress.callsOfSeed, chosen.name);
    if (!IsWindow(*window_)) makeWindow();
    source_.beginCall();
    startsMinusEnds_ = 0;
    windowChanged_ = source_.hostIsGone = false;
    call(chosen);
    takeDib();
    surroundings_.checkHandles();
    // The block reader may keep its buffer as long as the image it reads.
    if (memory.owned(Owner::Module) > 1) fault("%u blocks are left", memory.owned(Owner::Module));
    if (startsMinusEnds_ != 0 && !windowChanged_)
        fault("images that start without an end, or end without a start");
    surroundings_.forgetFiles();
    source_.oneShotRuns = false;
}

void HostileHost::meanwhile() {
    if (depth_ == 0 || depth_ >= deepest || !dice_.inThousand(interrupts_)) return;
    if (dice_.inHundred(5)) return makeWindow();
    if (dice_.inHundred(5)) surroundings_.viewerTakesMessages = false;
    const Export& chosen = dice_.inHundred(50) ? naturalExport() : anyExport();
    if (progress.tells) std::fprintf(stderr, "%u %*s%s\n", progress.callsOfSeed, 4 * depth_, "", chosen.name);
    call(chosen);
}

bool HostileHost::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    size_t which = 0;
    while (which < messages_.size() && messages_[which] != message)
        ++which;
    if (which == messages_.size()) return false;
    switch (which) {
        case XferStart:
            // Once its image is ended the outer batch may be over, with but its last lines to write.
            if (batchDepth_ != 0 && depth_ > batchDepth_ && imageStarted_ == source_.imageNumber())
                fault("a batch begins within a batch");
            batchDepth_ = depth_;
            ++progress.images;
            startImage(*reinterpret_cast<TXferImageInfo*>(lParam));
            break;
        case XferData:
            ++progress.strips;
            lookAtStrip(*reinterpret_cast<const TXferStripInfo*>(lParam));
            // A patient host waits: it is the module that has to end empty strips.
            if (reinterpret_cast<const TXferStripInfo*>(lParam)->BytesWritten == 0) return true;
            break;
        case XferEnd:
            if (reinterpret_cast<TXferImageInfo*>(lParam)->XferMech != SM_MECH_MEMORY) --startsMinusEnds_;
            takeDib();
            break;
        case GetName:
            std::memset(reinterpret_cast<char*>(lParam), "cX%\\"[dice_.below(4)],
                        dice_.inHundred(20) ? +SM_FILE_NAME_SIZE : dice_.below(40));
            source_.oneShotRuns = true;
            filesOpen_ = surroundings_.openFiles();
            break;
        case FileEnd:
            if (wParam == SM_SCANTOFILE_DONE) ++progress.files;
            // A file that could not be written stays open; no other does.
            if (wParam == SM_SCANTOFILE_DONE && surroundings_.openFiles() != filesOpen_)
                fault("a file is left open");
            break;
    }
    if (dice_.inHundred(cancels_)) module_.CancelThisXfer();
    if (dice_.inHundred(cancels_)) module_.CancelAllXfer();
    if (dice_.inThousand(interrupts_ / 2)) return makeWindow(), true;
    for (uint32_t calls = dice_.inHundred(20) ? dice_.below(4) : 0; calls > 0 && depth_ < deepest; --calls)
        call(dice_.inHundred(30) ? exportNamed("ReadBlock") : anyExport());
    return true;
}

void HostileHost::startImage(TXferImageInfo& image) {
    // A memory transfer tells of no end any more once a description was missing.
    if (image.XferMech != SM_MECH_MEMORY) ++startsMinusEnds_;
    imageStarted_ = source_.imageNumber();
    takeDib();
    if (dice_.inHundred(50)) return;
    switch (image.XferMech) {
        case SM_MECH_NATIVE:
            image.Target.Dib = reinterpret_cast<HGLOBAL*>(dibSlot_.data());
            break;
        case SM_MECH_FILE:
            std::memset(image.Target.FileName, "f%sX"[dice_.below(4)],
                        dice_.inHundred(20) ? +SM_FILE_NAME_SIZE : dice_.below(40));
            break;
        default:
            image.Target.Buffer->BufferPointer = stripMemory_.data();
            image.Target.Buffer->BufferSize = dice_.inHundred(90) ? 5000 : 0;
    }
}

void HostileHost::lookAtStrip(const TXferStripInfo& strip) {
    const SmBufferDescriptor buffer = *strip.Buffer;
    if (strip.BytesWritten > buffer.BufferSize) fault("a strip has more bytes than its buffer");
    const auto* const bytes = static_cast<const uint8_t*>(buffer.BufferPointer);
    for (uint32_t at = 0; at < strip.BytesWritten; at += 512)
        sink = bytes[at];
    if (strip.BytesWritten != 0) sink = bytes[strip.BytesWritten - 1];
    const TW_IMAGEINFO& image = source_.image();
    const bool isKnown = imageStarted_ == source_.imageNumber() && image.Compression == TWCP_NONE &&
                         image.PixelType >= TWPT_BW && image.PixelType <= TWPT_PALETTE;
    if (isKnown && uint64_t{strip.Rows} * strip.BytesPerRow > strip.BytesWritten)
        fault("a strip has more rows than bytes");
    if (dice_.inHundred(5)) *strip.Buffer = {};
}

// The DIB is the host's, whether it hears of the image's end or its window is gone.
void HostileHost::takeDib() {
    auto& slot = *reinterpret_cast<HGLOBAL*>(dibSlot_.data());
    memory.give(slot, Owner::Host);
    memory.free(slot, Owner::Host);
    slot = nullptr;
}

// With room for one row more than it asks for, as it has to have.
void HostileHost::readBlock() {
    const uint32_t size = dice_.inHundred(80) ? 1 + dice_.below(3000) : dice_.below(70000);
    const uint32_t slack = std::max({1u, source_.longestRow(), source_.widthKnown() ? 0 : size});
    // No host has room for more.
    if (slack > 300000) return;
    const bool outer = std::exchange(source_.keepsImage, true);
    const Lent buffer{size + slack};
    const Lent counted{4};
    auto& count = *reinterpret_cast<unsigned*>(counted.data());
    constexpr unsigned unwritten = 0x7EEEEEEE;
    count = unwritten;
    std::memset(buffer.data(), untouched, size + slack);
    const int over = module_.ReadBlock(buffer.data(), size, &count);
    source_.keepsImage = outer;
    if (count != unwritten) ++progress.blocks;
    if (over != (count == 0xFFFFFFFF)) fault("the block reader's result is %d with count %u", over, count);
    if (!over && count != unwritten && count > size + slack)
        fault("%u bytes of %u were delivered", count, size);
}

void HostileHost::negotiate() {
    constexpr TW_UINT16 capabilities[] = {ICAP_XFERMECH, ICAP_UNITS, CAP_XFERCOUNT};
    constexpr TW_UINT16 asked[] = {MSG_GET, MSG_GETCURRENT, MSG_SET, MSG_SET};
    const Lent lent{sizeof(TW_CAPABILITY)};
    auto& cap = *reinterpret_cast<TW_CAPABILITY*>(lent.data());
    const TW_UINT16 message = dice_.inHundred(90) ? dice_.pick(asked) : static_cast<TW_UINT16>(dice_.any());
    cap = {dice_.pick(capabilities), static_cast<TW_UINT16>(3 + dice_.below(4)), nullptr};
    if (message == MSG_SET) {
        cap.hContainer = memory.allocate(dice_.below(30), Owner::Host);
        if (uint8_t* const bytes = memory.lock(cap.hContainer)) {
            *bytes = TWTY_UINT16;
            memory.unlock(cap.hContainer);
        }
    }
    const void* const outer = source_.hostsRecord;
    source_.hostsRecord = &cap;
    module_.CapNegotiate(message, &cap);
    source_.hostsRecord = outer;
    // A refused one is still the source's.
    if (memory.isLive(cap.hContainer)) memory.freeIfOwned(cap.hContainer, Owner::Host);
}

void HostileHost::disableWindows() {
    const Lent list{sizeof(HWND)};
    const Lent context{sizeof(SmDisableWndsContext)};
    auto& windows = *reinterpret_cast<SmDisableWndsContext*>(context.data());
    windows = {0, 0, dice_.inHundred(50) ? reinterpret_cast<HWND*>(list.data()) : nullptr};
    module_.DisableWnds(Argument<HWND>({dice_, *window_}).get(), reinterpret_cast<LPARAM>(&windows));
}
