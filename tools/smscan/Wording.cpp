#include "common/Wording.h"

namespace host {

const Wording wording{"smscan", "--", "--set ", "--presto", "smscan --caps shows what the source offers."};

}  // namespace host
