// A TWAIN manager with a source that answers anything. How often it lies differs from run to run, so that
// some runs get far. What the module passes is looked at as closely as what it does with the answers.
#pragma once

#include <scanmodule/twain_types.h>

#include <functional>

#include "Dice.h"
#include "GuardedMemory.h"

class HostileSource {
public:
    explicit HostileSource(uint64_t seed);

    TW_UINT16 call(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group, TW_UINT16 argumentType,
                   TW_UINT16 message, TW_MEMREF data);

    // What the host does while the source has the word, and a record that is the host's own.
    std::function<void()> meanwhile;
    const void* hostsRecord = nullptr;
    bool oneShotRuns = false;  // a file was asked for
    HANDLE parent = nullptr;   // the window that the source was enabled for
    bool hostIsGone = false;   // so there is no end of images until the module ends them
    bool keepsImage = false;   // the next image is like this one

    int state() const { return state_; }
    const TW_IMAGEINFO& image() const { return image_; }
    uint32_t imageNumber() const { return imageNumber_; }
    // The longest row of all images so far, at three bytes a pixel.
    uint32_t longestRow() const { return longestRow_; }
    bool widthKnown() const { return widthKnown_; }
    // An outermost call begins.
    void beginCall();

private:
    TW_UINT16 answer(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);
    TW_UINT16 returnCode(TW_UINT16 expected);
    TW_UINT16 move(TW_UINT16 message);
    TW_UINT16 identity(TW_UINT16 message, TW_IDENTITY& identity);
    TW_UINT16 event(TW_EVENT& event);
    TW_UINT16 capability(TW_UINT16 message, TW_CAPABILITY& cap);
    TW_UINT16 takeContainer(TW_CAPABILITY& cap);
    HGLOBAL makeContainer(TW_CAPABILITY& cap);
    TW_UINT16 setupMemory(TW_SETUPMEMXFER& setup);
    TW_UINT16 imageInfo(TW_IMAGEINFO& info);
    TW_UINT16 nextStrip(TW_IMAGEMEMXFER& strip);
    TW_UINT16 nativeDib(HGLOBAL& dib);
    TW_UINT16 pending(TW_PENDINGXFERS& pending);
    TW_UINT16 palette(TW_PALETTE8& palette);
    HGLOBAL strangeHandle();
    uint32_t lieAbout(uint32_t value, uint32_t edge);
    void keep(HGLOBAL handle);
    void nameTexts(TW_IDENTITY& identity);
    void newImage();
    bool lies() { return dice_.inThousand(lies_); }

    Dice dice_;
    uint32_t lies_, failures_;    // in a thousand
    uint32_t onlyMechanism_ = 3;  // that can be set; 3: any
    bool endlessList_, endlessStrips_ = false, endlessImages_ = false;
    int state_ = 2;
    TW_IDENTITY application_ = {};
    TW_IMAGEINFO image_ = {};
    uint32_t imageNumber_ = 0, row_ = 0, longestRow_ = 0;
    bool widthKnown_ = true;
    uint32_t strips_ = 0, emptyStrips_ = 0, images_ = 0, undescribed_ = 0, imagesWithoutHost_ = 0,
             listed_ = 0;
    uint64_t bytes_ = 0;
    uint32_t operationsOfCall_ = 0;
    HGLOBAL kept_[16] = {};
    uint32_t keptNext_ = 0;
};
