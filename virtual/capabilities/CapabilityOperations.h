// DAT_CAPABILITY: the messages by which a host asks for capabilities and changes them.
#pragma once

#include "capabilities/Outcome.h"
#include "capabilities/ScanParameters.h"

namespace vscan {

// MSG_GET, MSG_GETCURRENT, MSG_GETDEFAULT.
Outcome getCapability(const ScanParameters& parameters, TW_UINT16 message, TW_CAPABILITY& request,
                      OddContainers fault);
// MSG_QUERYSUPPORT: which operations the host may try.
Outcome queryCapability(const ScanParameters& parameters, TW_CAPABILITY& request);
// MSG_SET.
Outcome setCapability(ScanParameters& parameters, const TW_CAPABILITY& request);
// MSG_RESET, which answers with the value that then holds.
Outcome resetCapability(ScanParameters& parameters, TW_CAPABILITY& request, OddContainers fault);

}  // namespace vscan
