#include "common/Wording.h"

namespace host {

const Wording wording{"smview", "", "the switch ", "one-shot", "Capabilities shows what the source offers."};

}  // namespace host
