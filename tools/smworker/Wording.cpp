#include "common/Wording.h"

namespace host {

const Wording wording{"smworker", "", "switches: ", "the one-shot scan",
                      "The method capabilities tells what the source offers."};

}  // namespace host
