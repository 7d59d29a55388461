/* No C library and no start-up code, so that a linker which has only the import library can link it. The exit
 * code tells what the module answered: a manager (1), and that there is no session to close (11). */
#include <scanmodule/scanmodule.h>

int start(void) {
    return smIsTWAINAvailable() * 100 + smCloseDS();
}
