/* The dialog of the source's window and its controls: macros, as the resource script reads them too. Scan is
 * IDOK, Cancel IDCANCEL. */
#pragma once

#define SOURCE_DIALOG 100
#define SOURCE_PREVIEW 101
#define SOURCE_MODE 102
#define SOURCE_RESOLUTION 103
#define SOURCE_PAPER 104
#define SOURCE_BRIGHTNESS 105
#define SOURCE_BRIGHTNESS_VALUE 106
#define SOURCE_CONTRAST 107
#define SOURCE_CONTRAST_VALUE 108
#define SOURCE_SUMMARY 109
#define SOURCE_STATUS 110
