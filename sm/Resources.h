// Identifiers of the string resources (ScanModule.rc, in Spanish). Also included by the resource compiler.
#pragma once

#define IDS_AUTHORS 20000
#define IDS_VERSION_FORMAT 20001
#define IDS_MANUFACTURER 20002
#define IDS_WARNING 20003
#define IDS_ERROR 20004
#define IDS_INVALID_PIXEL_TYPE 20005
#define IDS_MORE_PAGES 20006
#define IDS_INSUFFICIENT_MEMORY 20007
