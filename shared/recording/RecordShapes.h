// The standard's records as bytes: how large they are, which way they go, and what of them may be written
// down.
#pragma once

#include <scanmodule/twain_types.h>

#include "recording/Recording.h"

namespace recording {

// Bytes of the record that goes with the operation; 0: none, or one of unknown size.
std::size_t recordSize(const Triplet& triplet);
// A record whose size only its maker knows.
bool isVendorRecord(const Triplet& triplet);
// Does the host say something in the record, does the source?
bool hostWrites(const Triplet& triplet);
bool sourceWrites(const Triplet& triplet);

// The record without addresses, without what the other side left in it, without names of hosts and files.
Bytes presentableQuestion(const Triplet& triplet, Bytes record);
Bytes presentableAnswer(const Triplet& triplet, Bytes record);

// The TWAIN state after an operation that began in `state`. `record` is the answer's.
int stateAfter(int state, const Triplet& triplet, int returnCode, const Bytes& record);

inline bool isTransfer(const Triplet& triplet) {
    return triplet.group == DG_IMAGE && triplet.message == MSG_GET &&
           triplet.argumentType >= DAT_IMAGEMEMXFER && triplet.argumentType <= DAT_IMAGEFILEXFER;
}

// What stands in for pixels that a recording leaves out.
Bytes patternPixels(std::size_t count);

}  // namespace recording
