// A batch of native or file transfers on an enabled source, scripted call by call.
#pragma once

#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "Stage.h"

enum class Mechanism { Native, File };

inline TW_IMAGEINFO colourImage() {
    TW_IMAGEINFO info = {};
    info.XResolution = {150, 0};
    info.YResolution = {300, 0};
    info.ImageWidth = 20;
    info.ImageLength = 10;
    info.SamplesPerPixel = 3;
    for (int i = 0; i < 3; ++i)
        info.BitsPerSample[i] = 8;
    info.BitsPerPixel = 24;
    info.PixelType = TWPT_RGB;
    return info;
}

inline HGLOBAL newDib(TW_UINT32 number) {
    const HGLOBAL dib = GlobalAlloc(GMEM_MOVEABLE, 100 + number);
    ModuleCalls::adopt(dib);
    return dib;
}

// An enabled source with a batch of images.
class Batch : public Stage {
public:
    explicit Batch(Mechanism mechanism, int images = 1, bool showUI = false) : mechanism_(mechanism) {
        enable(showUI);
        const TW_UINT32 twain = mechanism == Mechanism::Native ? TWSX_NATIVE : TWSX_FILE;
        manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, twain)));
        manager.answer(operation::get(ICAP_XFERMECH), give(enumeration(TWTY_UINT16, {0, 1, 2})));
        manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_INCHES)));
        manager.answer(operation::imageInfo, copy(colourImage()));
        manager.answer(operation::nativeTransfer, dibGiven());
        manager.answer(operation::setupFile, succeed());
        manager.answer(operation::fileTransfer, returnCode(TWRC_XFERDONE));
        for (int left = images - 1; left >= 0; --left)
            manager.answerNext(operation::endTransfer, pending(static_cast<TW_UINT16>(left)));
        host.onXferStart = [this](TXferImageInfo& image) { nameFile(image); };
    }

    Answer dibGiven() {
        return {TWRC_XFERDONE, TWCC_SUCCESS, {}, [this](TW_MEMREF data) {
                    *static_cast<HGLOBAL*>(data) = newDib(++dibs_);
                }};
    }
    void nameFile(TXferImageInfo& image) const {
        if (image.XferMech == SM_MECH_FILE) std::strcpy(image.Target.FileName, "C:\\page.bmp");
    }

    // Runs the batch and gives what the source was asked, without the message that started it.
    Lines run() {
        CHECK(deliver(MSG_XFERREADY));
        Lines calls = manager.takeCalls();
        CHECK(calls.front() == "PROCESSEVENT");
        calls.erase(calls.begin());
        CHECK(windows.memoryComplaints() == Lines{});
        return calls;
    }

    // What is asked before the first image, and for a whole image.
    Lines choice() const {
        return {"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "IMAGEINFO", "IMAGEINFO"};
    }
    Lines description() const { return {"IMAGEINFO", "GETCURRENT ICAP_UNITS"}; }
    Lines transfer() const {
        if (mechanism_ == Mechanism::Native) return {"IMAGENATIVEXFER"};
        return {"SET SETUPFILEXFER C:\\page.bmp format 2", "IMAGEFILEXFER"};
    }
    Lines image() const { return description() + transfer() + Lines{"ENDXFER"}; }

    Operation transferOperation() const {
        return mechanism_ == Mechanism::Native ? operation::nativeTransfer : operation::fileTransfer;
    }
    std::string in() const {
        return mechanism_ == Mechanism::Native ? " in TScanModule::DoNativeXfer"
                                               : " in TScanModule::DoFileXfer";
    }
    // Kept by the module: a native transfer that worked says "error".
    Lines warningsOfSuccess() const {
        if (mechanism_ == Mechanism::File) return {};
        return {"MSG_GET DAT_IMAGENATIVEXFER error in TScanModule::DoNativeXfer"};
    }

private:
    Mechanism mechanism_;
    TW_UINT32 dibs_ = 0;
};

constexpr Mechanism bothMechanisms[] = {Mechanism::Native, Mechanism::File};
inline const Lines imageDone = {"XferStart", "XferEnd 0"};

// The Trace lines beside those that every method has.
inline Lines notesOf(const Stage& stage) {
    Lines notes;
    for (const std::string& text : stage.viewer.traces()) {
        const bool isBracket = text.rfind("Coming ", 0) == 0 || text.rfind("Leaving ", 0) == 0;
        if (!isBracket && text.find(" returns ") == std::string::npos) notes.push_back(text);
    }
    return notes;
}

inline bool hasTrace(const Stage& stage, const std::string& text) {
    const Lines traces = stage.viewer.traces();
    return std::find(traces.begin(), traces.end(), text) != traces.end();
}
