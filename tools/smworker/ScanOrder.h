#pragma once

#include "common/PageOutput.h"
#include "common/ScanRequest.h"
#include "smworker/Protocol.h"

namespace smworker {

// What the params of a scan ask for. All below throw ProtocolError: a value that can't be meant, or a member
// that isn't known, as a misspelt one would be a wrong scan.
struct ScanOrder {
    host::ScanRequest request;
    host::OutputRequest output;
    int progressMs = 100;
};

// What is set at the source, put over what is set already; a paper takes the place of an area, and the
// reverse.
host::ScanRequest readSettings(const Json& params, const host::ScanRequest& present);

// The same for one scan, with what only a scan has.
ScanOrder readScan(const Json& params, const host::ScanRequest& present);

}  // namespace smworker
