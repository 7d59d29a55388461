/*
 * Scan module: the interface of ScanModule.dll, a 32-bit Windows library that drives scanners through TWAIN.
 * This header is the manual of its exports. It compiles as C89 and as C++, takes only <windows.h>, and
 * defines no name of the TWAIN standard, so it can stand beside a host's own twain.h.
 *
 * HOW A SCAN GOES
 *   1. smOpenDS opens the chosen source, or the default one.
 *   2. smSet... calls choose mode, resolution, area and the way the image comes (smSetXferMech).
 *   3. smEnableDS starts the scan, with the source's own window or without.
 *   4. The host offers EVERY message that GetMessage gives it to smIsDSEvent first, those of the thread
 *      (hwnd 0) too, and goes on with a message only when the answer is FALSE.
 *   5. When the source is ready, smIsDSEvent transfers all its images before it returns. On the way it sends
 *      the registered messages below to the host's window; the handlers run inside that call.
 *   6. On SM_MESSAGE_CLOSEDSREQ (best noted in the handler, acted on in the loop) the host calls smDisableDS
 *      and smCloseDS.
 * smPrestoScan does steps 1 to 3 and 6 in one call and writes a file; the host only runs its message loop.
 *
 * STATES are those of the TWAIN standard: 1 no manager, 2 manager loaded, 3 manager open, 4 source open,
 * 5 source enabled. 6 and 7 exist only while images are transferred and count as 5. "States: 4+" means 4, 5
 * and during a transfer. Outside its states a call answers SM_CONDITION_SEQ_ERROR and asks nothing
 * (smPrestoScan, whose result is a truth value, excepted).
 *
 * POINTERS to outputs are never checked: none may be null.
 *
 * RESULTS: unless a text says otherwise 0 is success, SM_RESULT_NOT_AVAILABLE (-1) means that there is no
 * TWAIN manager, and any other value is a condition code (SM_CONDITION_...): the source's or the manager's
 * own, or the module's (LOW_MEMORY, BAD_VALUE for an answer it can't read, SEQ_ERROR). With -1 and the
 * module's own SEQ_ERROR outputs stay as they were; with other failures, a SEQ_ERROR of the source's among
 * them, they hold what the text says, else what they held before. A source that refuses and then reports the
 * condition code 0 makes a call return 0 without effect: a host that must be sure sets its outputs
 * beforehand and looks at them, or reads back what it set.
 *
 * THREADS: all calls come from the thread that owns the host's window. There are no locks.
 *
 * OWNERSHIP: what the host passes stays the host's and is used only during the call. Records behind lParam
 * are the module's and hold until the handler returns. The one thing that changes hands is the handle of a
 * native transfer (see TXferImageInfo).
 *
 * UNITS: resolutions are whole dots per inch and areas inches, except where a text names something else.
 * They are exact for sources that work in inches, as nearly all do; see smGetXResolution for the others.
 *
 * BINDING: names are undecorated and ordinals fixed, for LoadLibrary and GetProcAddress; hosts that link
 * take libScanModule.dll.a (MinGW: -lScanModule) or ScanModule.lib (Visual Studio), in lib/ next to the DLL's
 * bin/. All functions are __stdcall and every argument takes 32 bits (a double two times 32), so only the
 * declared types are narrower. C++ hosts may prefer scanmodule.hpp, a layer over this.
 */
#ifndef SCANMODULE_SCANMODULE_H
#define SCANMODULE_SCANMODULE_H

#include <windows.h>

/* The version of this header, to compile against; the library's own is in its file's version resource. */
#define SM_VERSION_MAJOR 1
#define SM_VERSION_MINOR 0
#define SM_VERSION_PATCH 0
#define SM_VERSION_TEXT "1.0.0"

#ifdef _WIN64
#error "The scan module is 32-bit only: build the host for 32-bit Windows."
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Codes ------------------------------------------------------------------------------------------- */

/* Results of the module's own. */
enum SmResult {
    SM_RESULT_OK = 0,
    SM_RESULT_NOT_AVAILABLE = -1,   /* TWAIN_32.DLL isn't in the Windows folder or isn't a TWAIN manager */
    SM_RESULT_SELECT_CANCELLED = -6 /* smSelectDS: the user closed the dialog without a choice */
};

/* Condition codes, numbered as in the TWAIN standard. */
enum SmCondition {
    SM_CONDITION_BUMMER = 1, /* failure of unknown cause */
    SM_CONDITION_LOW_MEMORY = 2,
    SM_CONDITION_NO_DS = 3,           /* no source */
    SM_CONDITION_MAX_CONNECTIONS = 4, /* another program uses the source */
    SM_CONDITION_OPERATION_ERROR = 5, /* the source or manager has told the user already */
    SM_CONDITION_BAD_CAP = 6,
    SM_CONDITION_BAD_PROTOCOL = 9,
    SM_CONDITION_BAD_VALUE = 10,
    SM_CONDITION_SEQ_ERROR = 11, /* not allowed in the present state */
    SM_CONDITION_BAD_DEST = 12,  /* no such source; smSetDefaultDriver: none of that name */
    SM_CONDITION_CAP_UNSUPPORTED = 13,
    SM_CONDITION_CAP_BAD_OPERATION = 14,
    SM_CONDITION_CAP_SEQ_ERROR = 15,
    SM_CONDITION_DENIED = 16,
    SM_CONDITION_PAPER_JAM = 20,
    SM_CONDITION_PAPER_DOUBLE_FEED = 21,
    SM_CONDITION_FILE_WRITE_ERROR = 22,
    SM_CONDITION_CHECK_DEVICE_ONLINE = 23
};

/* wParam of SM_MESSAGE_XFEREND, read as (int)wParam. Any other value is a condition code. */
enum SmXferEnd {
    SM_XFEREND_DONE = 0, /* see the message: it doesn't promise a whole image */
    SM_XFEREND_CANCELLED_BY_SOURCE = -4,
    SM_XFEREND_CANCELLED_BY_HOST = -5
};

/* wParam of SM_MESSAGE_SCANTOFILEXFEREND, read as (int)wParam. Any other value is a condition code. */
enum SmScanToFileEnd {
    SM_SCANTOFILE_DONE = 0, /* see the message: it doesn't promise a whole image */
    /* No description, or one without a size; an image, or a strip of it, of a kind that can't be written;
     * strips that never end; or the source's own SM_CONDITION_BUMMER. */
    SM_SCANTOFILE_BAD_IMAGE = 1,
    SM_SCANTOFILE_LOW_MEMORY = 2, /* the module's, or the source's own SM_CONDITION_LOW_MEMORY */
    SM_SCANTOFILE_DISK_FULL = -2,
    SM_SCANTOFILE_FILE_ERROR = -3, /* the file can't be created, written or read back, or a DIB is cut off */
    SM_SCANTOFILE_CANCELLED = -4   /* at the source */
};

/* How images come to the host. */
enum SmXferMech {
    SM_MECH_NATIVE = 1, /* one DIB in global memory */
    SM_MECH_FILE = 2,   /* a BMP file that the source writes */
    SM_MECH_MEMORY = 4  /* strips of rows; set by smOpenDS */
};

/* Units of length. */
enum SmUnit {
    SM_UNIT_INCHES = 1,
    SM_UNIT_CENTIMETERS = 2,
    SM_UNIT_PICAS = 4,
    SM_UNIT_POINTS = 8,
    SM_UNIT_TWIPS = 16,
    SM_UNIT_PIXELS = 32
};

/* Pixel types: one bit each, so that they also serve as a set. */
enum SmPixelType {
    SM_PIXEL_BW = 1,
    SM_PIXEL_GRAY = 2,
    SM_PIXEL_RGB = 4,
    SM_PIXEL_PALETTE = 8,
    SM_PIXEL_CMY = 16,
    SM_PIXEL_CMYK = 32,
    SM_PIXEL_YUV = 64,
    SM_PIXEL_YUVK = 128,
    SM_PIXEL_CIEXYZ = 256
};

/* Paper sizes: one bit each, so that they also serve as a set. */
enum SmPaperSize {
    SM_PAPER_NONE = 1, /* the whole scan area */
    SM_PAPER_A4LETTER = 2,
    SM_PAPER_B5LETTER = 4,
    SM_PAPER_USLETTER = 8,
    SM_PAPER_USLEGAL = 16,
    SM_PAPER_A5 = 32,
    SM_PAPER_B4 = 64,
    SM_PAPER_B6 = 128,
    SM_PAPER_B = 256
};

/* What the value 0 of a 1-bit or gray pixel stands for. */
enum SmPixelFlavor { SM_FLAVOR_CHOCOLATE = 0 /* black */, SM_FLAVOR_VANILLA = 1 /* white */ };

enum SmLightpath { SM_LIGHTPATH_REFLECTIVE = 0, SM_LIGHTPATH_TRANSMISSIVE = 1 };

/* Sizes of text buffers, terminator included. */
enum SmBufferSize { SM_NAME_SIZE = 34, SM_FILE_NAME_SIZE = 256 };

/* ---- Messages ---------------------------------------------------------------------------------------- */
/*
 * Names for RegisterWindowMessageA. The module sends these (SendMessageA) to the parent window last given to
 * smOpenDS or smPrestoScan; a host that gave none never gets any. When that window is gone, the running
 * batch ends as if the host had called smCancelAllXfer.
 */

/* wParam 0, lParam 0: the source wants to be closed. Sent when the user closes the source's window and, when
 * it was enabled without one, after each batch. Twice after a memory transfer that ended with
 * SM_CONDITION_OPERATION_ERROR: handle it so that the second one does no harm. */
#define SM_MESSAGE_CLOSEDSREQ "ScanModule_CloseDSReq"

/* wParam 0, lParam TXferImageInfo*: an image is about to be transferred. The handler may fill Target, and
 * may call smCancelThisXfer, smCancelAllXfer, the getters and smReadBlock. An image whose description can't
 * be had is passed over without this message; 256 of them in a row end the batch. A message that a handler
 * hands to smIsDSEvent goes to the source, but starts no second batch. */
#define SM_MESSAGE_XFERSTART "ScanModule_XferStart"

/* wParam 0, lParam TXferStripInfo*: a strip of a memory transfer has come. The handler may cancel. */
#define SM_MESSAGE_XFERDATA "ScanModule_XferData"

/* wParam SmXferEnd, lParam TXferImageInfo*: once for each SM_MESSAGE_XFERSTART, after a cancel too. Not sent
 * by a memory transfer once the description of an image of the batch could not be had.
 * 0 doesn't promise a whole image: it also comes when the source fails and then reports the condition code 0.
 * Look at what came: a handle that isn't null (native), a file that can be read (file; remove an older one
 * first), as many rows as ImageLength says where it is known (memory).
 * After an error the batch goes on with the next image unless it is cancelled, or the error is
 * SM_CONDITION_OPERATION_ERROR in a memory transfer: that ends the batch. */
#define SM_MESSAGE_XFEREND "ScanModule_XferEnd"

/* wParam 0, lParam char[SM_FILE_NAME_SIZE]: one-shot scan; the handler writes the full path of the file to
 * be made. It must always write one. An existing file of that name is deleted at once, before anything is
 * scanned. */
#define SM_MESSAGE_SCANTOFILEGETNAME "ScanModule_ScanToFileGetName"

/* wParam SmScanToFileEnd, lParam 0: one-shot scan; the file is written, or deleted when wParam isn't 0;
 * except that a file to which a strip could not be written stays, and stays open until the process ends.
 * When the source fails and then reports the condition code 0, wParam is 0 all the same: the file is empty,
 * or its missing rows are zeros. Not sent when the user closes the source's window without a scan. */
#define SM_MESSAGE_SCANTOFILEXFEREND "ScanModule_ScanToFileXferEnd"

/* wParam 0, lParam 0: one-shot scan; the source is closed, the session is over, unless the source refused to
 * be disabled or closed (a window disabled for ModalUI then stays so). smDisableDS, called from the loop
 * after it, tells: SM_CONDITION_SEQ_ERROR when it is over; after 0 smCloseDS is still to be called. */
#define SM_MESSAGE_SCANTOFILEDSCLOSED "ScanModule_ScanToFileDSClosed"

/* ---- Records ----------------------------------------------------------------------------------------- */

/* Refuses to compile when a record's size isn't what the library was built with. */
#define SM_SIZE_CHECK(type, size) typedef char SmSizeCheck_##type[sizeof(type) == (size) ? 1 : -1]

#pragma pack(push, 1)

/*
 * Where the strips of a memory transfer go. Both fields are 0 at SM_MESSAGE_XFERSTART. A handler that fills
 * both makes the module transfer into that memory (the host's; at least the minimum of smGetMemXferSize),
 * and may put other memory there at each SM_MESSAGE_XFERDATA. While either is 0 the other doesn't count: the
 * module allocates a buffer and writes its size and address here.
 */
typedef struct SmBufferDescriptor {
    unsigned int BufferSize; /* bytes */
    void* BufferPointer;
} SmBufferDescriptor;
SM_SIZE_CHECK(SmBufferDescriptor, 8);

/*
 * One image, as the source describes it before the transfer.
 *
 * XResolution and YResolution are the source's own values multiplied by the factor that turns a LENGTH in
 * the source's unit into inches: right for inches, while 118 dots per centimetre read as 46 (see
 * smGetXResolution). A negative value reads as -1.
 */
typedef struct TXferImageInfo {
    short XResolution;
    short YResolution;
    int ImageWidth;  /* pixels */
    int ImageLength; /* rows; -1 when the source doesn't know it yet */
    short SamplesPerPixel;
    short BitsPerSample[8];
    short BitsPerPixel;
    unsigned int Planar;          /* not 0: whole planes follow each other, not whole pixels */
    unsigned short PixelTypeFlag; /* SmPixelType; an unknown type keeps the previous image's value */
    unsigned short Compression;   /* the TWAIN standard's value; 0 is none */
    unsigned short XferMech;      /* SmXferMech: which member of Target holds */
    union {
        /* Native: null at SM_MESSAGE_XFERSTART. A handler that wants the image stores the address of a handle
         * of its own, set to null, here; when SM_MESSAGE_XFEREND comes with 0 and it isn't null any more, it
         * is the packed DIB, which the host then owns and frees with GlobalFree. Left null, the module frees
         * the DIB. */
        HGLOBAL* Dib;
        /* File: SM_FILE_NAME_SIZE bytes of the module's, into which the handler copies the full path of the
         * BMP file to be written. They still hold the last image's: a handler that writes none lets the
         * source write that file again. The text is used as a wsprintf format: write every '%' of a path as
         * "%%". The file is the host's; the module neither checks nor deletes it. */
        char* FileName;
        /* Memory: where the strips go. */
        SmBufferDescriptor* Buffer;
    } Target;
} TXferImageInfo;
SM_SIZE_CHECK(TXferImageInfo, 46);

/*
 * One strip of a memory transfer: the image's description without Target, then the strip's own. Rows come
 * top-down. A strip may be narrower than the image (tiles). Uncompressed chunky data is converted before the
 * handler sees it: of SM_PIXEL_RGB with 24 bits red and blue change places, with 48 bits all six bytes of a
 * pixel are reversed, and of 16-bit gray the two bytes of a sample: to the order of a Windows bitmap, from
 * that of a source that sends red first and high bytes first. Other pixel types stay as they come. Planar
 * data comes as the source gives it: all strips of red, then green, then blue, YOffset starting at 0 for
 * each.
 */
typedef struct TXferStripInfo {
    short XResolution;
    short YResolution;
    int ImageWidth;
    int ImageLength;
    short SamplesPerPixel;
    short BitsPerSample[8];
    short BitsPerPixel;
    unsigned int Planar;
    unsigned short PixelTypeFlag;
    unsigned short Compression;
    unsigned short XferMech;
    unsigned int BytesPerRow; /* from one row to the next, padding included */
    unsigned int Columns;     /* pixels of each row */
    unsigned int Rows; /* where the source's numbers disagree BytesWritten / BytesPerRow (uncompressed black
                          and white, gray, RGB and palette only) */
    unsigned int XOffset; /* pixels from the image's left edge */
    unsigned int YOffset; /* rows from the image's top */
    unsigned int BytesWritten;
    unsigned int DibAligned;    /* 1: the rows are as long as those of a DIB of the whole image */
    SmBufferDescriptor* Buffer; /* the rows lie at Buffer->BufferPointer */
} TXferStripInfo;
SM_SIZE_CHECK(TXferStripInfo, 74);

/*
 * Settings of a one-shot scan (smPrestoScan). Values that make no sense are replaced, as said at each; null
 * instead of a record gives the defaults.
 */
typedef struct PrestoScanSettings {
    double FrameLeft; /* the frame is kept, but not sent to the source: the whole area is scanned */
    double FrameTop;
    double FrameRight;
    double FrameBottom;
    unsigned short
        FrameUnit; /* SM_UNIT_INCHES or SM_UNIT_CENTIMETERS; others become inches. Default inches */
    unsigned short
        PixelType;       /* SM_PIXEL_BW, GRAY (default) or RGB; others become GRAY, source's window shown */
    short Resolution;    /* dots per inch for both directions, default 300; 0 and below become 100 */
    short Brightness;    /* default 0; outside its bounds it becomes half the maximum */
    short BrightnessMin; /* default -1000; min >= max gives default value and bounds */
    short BrightnessMax; /* default 1000 */
    short Contrast;      /* as brightness */
    short ContrastMin;
    short ContrastMax;
    short Highlight;    /* default 255; outside its bounds it becomes the maximum */
    short HighlightMin; /* default 0; min >= max gives default value and bounds */
    short HighlightMax; /* default 255 */
    short Shadow;       /* default 0; outside its bounds it becomes the minimum */
    short ShadowMin;    /* default 0; min >= max gives default value and bounds */
    short ShadowMax;    /* default 255 */
    int ModalUI;        /* not 0 (default): the parent window is disabled meanwhile */
    int MorePages;      /* not 0: ask the source for any number of pages; default 0, one page */
    int ShowUI;         /* not 0 (default): show the source's window */
    int FeederEnable;   /* not 0 (default): from the feeder */
} PrestoScanSettings;
SM_SIZE_CHECK(PrestoScanSettings, 78);

/* Summary of a source (smGetScanCap). The host clears it first: the Unused words are left as they are. */
typedef struct SmScanAbility {
    unsigned int Size; /* 104 */
    unsigned int Unused1[13];
    unsigned int Zero;
    unsigned int MaxXResolution; /* dots per inch; 32768 and more read as negative numbers */
    unsigned int MinXResolution;
    unsigned int CurrentXResolution; /* raised to 300 when below while the maximum allows it */
    unsigned int Eight;              /* always 8 */
    unsigned int MaxWidth;           /* 1/1200 inch */
    unsigned int MaxHeight;          /* 1/1200 inch */
    unsigned int Unit;               /* SmUnit */
    unsigned int PixelType;          /* SmPixelType */
    unsigned int MaxBufferSize;      /* bytes, as smGetMemXferSize */
    unsigned int Unused2[2];
} SmScanAbility;
SM_SIZE_CHECK(SmScanAbility, 104);

/* The scan area, passed by value to smSetImageLayout. */
typedef struct SmImageLayout {
    double Left;
    double Top;
    double Right;
    double Bottom;
} SmImageLayout;
SM_SIZE_CHECK(SmImageLayout, 32);

/* A source's colours (smGetDSPalette): red, green, blue as the source orders them, not a DIB's order. */
typedef struct SmPaletteEntry {
    unsigned char Channel1; /* red */
    unsigned char Channel2; /* green */
    unsigned char Channel3; /* blue */
    unsigned char Zero;
} SmPaletteEntry;
SM_SIZE_CHECK(SmPaletteEntry, 4);

typedef struct SmPalette {
    SmPaletteEntry Entries[256];
} SmPalette;
SM_SIZE_CHECK(SmPalette, 1024);

#pragma pack(pop)

/* Context of DisableWnds; natural alignment. */
typedef struct SmDisableWndsContext {
    unsigned int Reserved; /* the host's own; not used */
    unsigned short Count;  /* counting pass: the number of windows is added; set it to 0 first */
    HWND* NextSlot;        /* null: counting pass; else where the next handle goes */
} SmDisableWndsContext;
SM_SIZE_CHECK(SmDisableWndsContext, 12);

#undef SM_SIZE_CHECK

/* ---- Manager and session ----------------------------------------------------------------------------- */

/* 1 when the TWAIN manager is loaded or can be loaded now, else 0. It is always <Windows>\TWAIN_32.DLL; each
 * call tries again, so a manager installed meanwhile is found. States: all. Ordinal 1. */
int WINAPI smIsTWAINAvailable(void);

/* The message filter. Returns TRUE when the message was the source's and must not be processed further. Below
 * state 5 always FALSE, at almost no cost, so a loop may always call it. When the source is ready this call
 * transfers all its images and sends the messages above before it returns.
 * Transfers are left to the host's own suite when SuppressTWAIN is exactly 2 in section Settings of
 * ZR_Scan.INI, in the folder (with its closing backslash) that the registry value HKEY_CURRENT_USER
 * Software\Lumivo, DataDir names.
 * When the first image needs more memory than there is, or its description can't be had, the file mechanism
 * takes over if the source has it (XferMech then says so); if not, a message box tells the user (in English)
 * and nothing is transferred: no message follows, and the host has to disable the source. A strict source may
 * refuse that, as its image was never fetched; the user then has to close it in its own window. Ordinal 2. */
int WINAPI smIsDSEvent(MSG* message);

/* Shows the manager's dialog in which the user chooses a source; the next smOpenDS opens it, and smCloseDS
 * forgets the choice. parent may be null (the desktop). SM_RESULT_SELECT_CANCELLED when the user cancels;
 * then, and when the dialog fails, an earlier choice is forgotten too. States: 2, 3. Ordinal 3. */
int WINAPI smSelectDS(HWND parent);

/* Opens the manager and the chosen source (smSelectDS, smSetDefaultDriver), else the default one.
 * parent: gets the registered messages, and is disabled by a modal smEnableDS. With null the desktop takes
 *   its place and the host never gets any message, so that no image can be had.
 * productName: the name under which the host shows up at the source, up to 33 characters (longer ones are
 *   cut); null for the module's own.
 * The source's tone ranges are read and memory transfer is chosen. A source that answers the first of these
 * questions with OPERATION_ERROR (a scanner switched off) is closed again and the result is 5.
 * After a failure in state 2 or 3 the session is in state 2, unless the manager refuses to close (then 3) or
 * the source refuses to be closed after that question (then 4: call smCloseDS, as a further smOpenDS finds it
 * open and returns 0 with nothing set up). The source that was tried, the default one of that moment too,
 * stays chosen for the next smOpenDS; only result 5 from that question forgets it.
 * Open already: 0. Enabled: SEQ_ERROR, and it stays so. The parent is replaced even then, and when enabled
 * the presented name too. States: 2, 3 (4). Ordinal 4. */
int WINAPI smOpenDS(HWND parent, const char* productName);

/* Enables the source: the scan starts, at once or when the user starts it in the source's window.
 * showUI: 1 shows the source's window, 0 asks for none (a source that can't do without shows it all the
 *   same, which is not an error).
 * modalUI: not 0 disables the parent window until smDisableDS, or until enabling fails.
 * With showUI 0 the module sends SM_MESSAGE_CLOSEDSREQ after the batch. Already enabled: 0, and nothing
 * changes. States: 4 (5). Ordinal 5. */
int WINAPI smEnableDS(int showUI, int modalUI);

/* Disables the source, state 5 to 4, and enables again the window that smEnableDS disabled. When the source
 * refuses, the state stays 5 and the window disabled (it is enabled when the code is 0). Open, but not
 * enabled: 0. States: 5 (4). Ordinal 6. */
int WINAPI smDisableDS(void);

/* Closes source and manager, state 4 to 2, and forgets the choice of the source. When the source refuses,
 * nothing changes and its code comes back; when only the manager refuses, the result is 0 and the state 3,
 * from which smOpenDS works too. Only the manager still open (3): that is closed, 0. An enabled source must
 * be disabled first: SEQ_ERROR in state 5, and in state 2. Unloading the library closes nothing: close
 * first. States: 4 (3). Ordinal 7. */
int WINAPI smCloseDS(void);

/* ---- Choosing a source ------------------------------------------------------------------------------- */

/* Lists the maker's sources (Manufacturer "KAVRO", no "WIA" in the name) into a private profile file, which
 * the module makes or adds to; profilePath is a full path. Section [DS]: "name1", "name2", ... the product
 * names, "count" their number, "name0" the default source's when it is one of them, else the last of them.
 * Keys of an earlier, longer list stay: only "count" says how many hold. Without any source the manager's
 * condition code comes back and "count" is 0. The result is 0 also when the file can't be written: delete it
 * before and look for "count". States: 2, 3. Ordinal 65. */
int WINAPI smGetAllDS(const char* profilePath);

/* Makes the source of that product name (case ignored) the one that the next smOpenDS opens: for one session,
 * as smCloseDS forgets the choice. 0 when it is the default already or was found; 12 when there is none of
 * that name, and then an earlier choice is forgotten too. parent may be null (the desktop).
 * With Regional=J in section Aboutdlg of <AppData>\Lumivo\Applet.ini the driver folders are searched
 * instead of the manager's list, and the system's default source is changed; without a find the result may
 * then also be the last condition code. A list that can't be begun gives its condition code. States: 2, 3.
 * Ordinal 58. */
int WINAPI smSetDefaultDriver(HWND parent, const char* productName);

/* The open (or chosen) source's product name and product family; empty when there is none. The buffer takes
 * SM_NAME_SIZE bytes. Results: 0, -1. States: all. Ordinals 53 and 78. */
int WINAPI smGetDSProductName(char* buffer);
int WINAPI smGetDSProductFamily(char* buffer);

/* ---- Capabilities: what most of them share --------------------------------------------------------------
 */
/*
 * What follows holds for all functions from here on, unless their texts say otherwise.
 * A getter asks the source for its present value (MSG_GETCURRENT), and when that fails for everything it says
 * of the capability (MSG_GET); resolutions and scales the other way round; smGetSupported...,
 * smIsADFAvailable, smGetKvVersion and smGetMaxResForKvDescreeing only with MSG_GET. When all fail its output
 * stays as it was. A setter sends one value, where item types differ between sources up to three times, each
 * time as another type, until the source takes it. An answer "taken with a change" (TWRC_CHECKSTATUS) counts
 * as refused, although the source then has a value, and mostly gives the result 0: what the source makes of a
 * value is for the host to read back.
 * Results: 0, -1, SEQ_ERROR, BAD_VALUE when the source answers in a form that can't be read, LOW_MEMORY, or
 * the source's condition code. States: 4+. Most sources refuse changes in state 5.
 * Switches are 0 or 1. Numbers with a fraction travel as TW_FIX32: -32768 to 32767 in steps of 1/65536. Below
 * nought they go out wrong: fractions one too high (-0.25 as 0.75, -1.5 as -0.5), whole numbers by 1/65536.
 */

/* Any capability operation of the TWAIN standard: message is MSG_GET, MSG_SET, ..., capability a
 * pTW_CAPABILITY. The container is the host's to build before a set and to GlobalFree after either. Setting
 * ICAP_XFERMECH this way also changes the mechanism that the module uses.
 * Returns the TWAIN RETURN code (0 success, 1 failure, 2 taken with a change, which records no mechanism),
 * also 1 without a manager. No state check. Ordinal 8. */
int WINAPI smCapNegotiate(unsigned short message, void* capability);

/* ---- Feeder ------------------------------------------------------------------------------------------ */

/* *available: 1 when the source has a feeder, else 0 (with the source's condition code as the result).
 * States: up to 4: ask before smEnableDS; below 4 the manager is asked and refuses. Ordinal 9. */
int WINAPI smIsADFAvailable(unsigned short* available);

/* *loaded: not 0 when there is paper in the feeder. Both names are one function. Ordinals 10 and 11. */
int WINAPI smIsADFPaperLoaded(unsigned short* loaded);
int WINAPI smIsPaperLoaded(unsigned short* loaded);

/* Whether pages come from the feeder. Ordinals 12 and 13. */
int WINAPI smGetADFEnable(unsigned short* enabled);
int WINAPI smSetADFEnable(int enable);

/* Whether the source feeds the next page by itself. Ordinal 60. */
int WINAPI smSetAutoFeedEnable(int enable);

/* ---- Image: pixel type, depth, paper, resolution, area --------------------------------------------------
 */

/* *unit: the source's unit (SmUnit); SM_UNIT_INCHES when it has none or fails. Ordinal 24. */
int WINAPI smGetUnit(unsigned short* unit);

/* The largest scan area in inches. A source that works in pixels: both are divided by the X resolution (by
 * 100 when it doesn't say its resolution; 8 and 11 inches stand in when that is 0). Ordinal 25. */
int WINAPI smGetMaxArea(double* width, double* height);

/* *flavor: SmPixelFlavor. Ordinal 26. */
int WINAPI smGetPixelFlavor(unsigned short* flavor);

/* The pixel type as an SmPixelType code; a type of the source's that has none reads as SM_PIXEL_GRAY. The
 * setter takes the same codes; any other value goes to the source as it is. Ordinals 27 and 28. */
int WINAPI smGetPixelType(unsigned short* pixelType);
int WINAPI smSetPixelType(unsigned short pixelType);

/* The set of pixel types that the source has (0 when it doesn't answer with a list), and to narrow it:
 * SmPixelType codes or-ed. The present type stays the current one when it is in the set, else the lowest of
 * the set becomes it. Ordinals 29 and 30. */
int WINAPI smGetSupportedPixelType(unsigned short* pixelTypes);
int WINAPI smSetSupportedPixelType(unsigned short pixelTypes);

/* Bits per pixel, for the present pixel type: choose that first. There is no getter; TXferImageInfo tells.
 * Ordinal 57. */
int WINAPI smSetBitDepth(unsigned short bitsPerPixel);

/* The paper size as an SmPaperSize code; sizes without one read as SM_PAPER_NONE. The setter takes the same
 * codes; any other value goes to the source as it is. Ordinals 31 and 32. */
int WINAPI smGetPaperSize(unsigned short* paperSize);
int WINAPI smSetPaperSize(unsigned short paperSize);

/* The set of paper sizes, like that of the pixel types: SmPaperSize codes or-ed. Ordinals 33 and 34. */
int WINAPI smGetSupportedPaperSize(unsigned short* paperSizes);
int WINAPI smSetSupportedPaperSize(unsigned short paperSizes);

/* Resolution in dots per inch: present, lowest and highest value; 100 three times (converted from the
 * source's unit like any other value) when the source doesn't answer. To a source that works in centimetres,
 * picas, points or twips dots per inch are sent times 2.54, 6, 72 or 1440, where the TWAIN standard divides,
 * and its answers are divided by the same: 300 dpi go out as 762 dots per centimetre, and a standard
 * source's 118 per centimetre (300 dpi) reads as 46. A host that wants to be sure sets ICAP_UNITS to inches
 * first, with smCapNegotiate. Answers are cut to whole numbers: get gives back what was set, but in
 * centimetres every other value reads one less (100, 200 and 400 become 99, 199 and 399; 75, 150, 300, 600
 * and 1200 stay). Inches are exact, but for fractions. A TWAIN number ends at 32767: in points from 456 dpi
 * and in twips from 23 dpi on nothing sensible is sent. Ordinals 37 to 40. */
int WINAPI smGetXResolution(unsigned short* current, unsigned short* minimum, unsigned short* maximum);
int WINAPI smSetXResolution(unsigned short dotsPerInch);
int WINAPI smGetYResolution(unsigned short* current, unsigned short* minimum, unsigned short* maximum);
int WINAPI smSetYResolution(unsigned short dotsPerInch);

/* 0 when the source takes this pair, which is found out by setting it; the old values, as the getters read
 * them, are then set again: in centimetres they may come back one lower, and a source that doesn't say its
 * resolution is left at about 100 (in its unit). A source that rounds takes everything. Ordinal 41. */
int WINAPI smIsThisDPIAvailable(unsigned short xDotsPerInch, unsigned short yDotsPerInch);

/* Scaling factor, 1.0 for none: present, lowest and highest; all 0 when the source doesn't answer. Ordinals
 * 42 to 45. */
int WINAPI smGetXScale(double* current, double* minimum, double* maximum);
int WINAPI smSetXScale(double scale);
int WINAPI smGetYScale(double* current, double* minimum, double* maximum);
int WINAPI smSetYScale(double scale);

/* The scan area, in the given unit (SmUnit), converted to the source's; pixels by the present resolutions. A
 * source that works in inches gets the four numbers as they are, whatever the unit says: give inches to such
 * a source (smGetUnit tells).
 * States: 4; SEQ_ERROR from 5 on, while below 4 the manager is asked and refuses. Ordinal 48. */
int WINAPI smSetImageLayout(SmImageLayout layout, unsigned short unit);

/* Size of the coming image in pixels and rows (-1: not known yet); 0 and 0 when there is none. It answers
 * only between "ready" and the end of the transfers, so "not 0" also means that an image is waiting. No
 * result, no state check. Ordinal 63. */
void WINAPI smGetImageDim(int* width, int* length);

/* The source's colour table: the entries that the source doesn't give are white, all of them after a
 * failure. BAD_VALUE when the source has more than 256. Ordinal 50. */
int WINAPI smGetDSPalette(SmPalette* palette);

/* Fills the summary of a source; always 0. A question that failed leaves what its getter writes then, else
 * 0. No state check. Ordinal 62. */
int WINAPI smGetScanCap(SmScanAbility* ability);

/* ---- Tone -------------------------------------------------------------------------------------------- */
/*
 * value counts on the host's own scale from scaleMin to scaleMax, which is mapped linearly onto the range
 * that the source named when it was opened, and rounded to the source's steps. Values outside the scale are
 * not clamped. Steps are counted in 16 bits: in a range of more than 32767 of them the upper values come out
 * far below the range (128 of 0 to 255 in steps of 1/256 is sent as -128). scaleMin = scaleMax gives
 * BAD_VALUE (a getter then writes 0). A getter that fails writes the middle of the scale. For a source that
 * names no range -1000 to 1000 in steps of 1 stands, for each of the five. A getter rounds by adding a half
 * and cutting, so that a negative value on the host's scale reads one higher: read on a scale from 0 on.
 */

/* Ordinals 14 to 21. */
int WINAPI smGetBrightness(short* value, short scaleMin, short scaleMax);
int WINAPI smSetBrightness(short value, short scaleMin, short scaleMax);
int WINAPI smGetContrast(short* value, short scaleMin, short scaleMax);
int WINAPI smSetContrast(short value, short scaleMin, short scaleMax);
int WINAPI smGetHighlight(short* value, short scaleMin, short scaleMax);
int WINAPI smSetHighlight(short value, short scaleMin, short scaleMax);
int WINAPI smGetShadow(short* value, short scaleMin, short scaleMax);
int WINAPI smSetShadow(short value, short scaleMin, short scaleMax);

/* The limit between black and white of a 1-bit scan. There is no getter. Ordinal 55. */
int WINAPI smSetThreshold(short value, short scaleMin, short scaleMax);

/* Gamma as a plain number; 2.2 when the source doesn't answer with one value. Ordinals 22 and 23. */
int WINAPI smGetGamma(double* gamma);
int WINAPI smSetGamma(double gamma);

/* SmLightpath: paper, or film. Ordinal 64. */
int WINAPI smSetLightpath(unsigned short lightpath);

/* ---- Transfer ---------------------------------------------------------------------------------------- */

/* How images come (SmXferMech). The setter sends any other value as it is. What the source last took without
 * a change counts when it doesn't say its mechanism. Ordinals 35 and 36. */
int WINAPI smGetXferMech(unsigned short* mechanism);
int WINAPI smSetXferMech(unsigned short mechanism);

/* How many images the host takes, 1 to 32767; -1 means any number. Ordinals 52 and 59. */
int WINAPI smGetXferCount(short* count);
int WINAPI smSetXferCount(int count);

/* Whether the source shows its progress window while it scans without its own. Ordinal 56. */
int WINAPI smSetIndicatorEnable(int enable);

/* *count: inside the SM_MESSAGE_XFEREND handler of a memory transfer the number of images still waiting
 * (65535: not known); 9999 otherwise during such a batch. Native and file transfers don't set it. States:
 * 5+. Ordinal 54. */
int WINAPI smGetPendingCount(unsigned short* count);

/* Sizes in bytes that the source wants of the buffer of a memory transfer: 65536 for a minimum or maximum
 * that it doesn't name, the minimum for a preferred size that it doesn't name or that lies outside the two;
 * 65536 three times when it doesn't answer. Ordinal 49. */
int WINAPI smGetMemXferSize(unsigned int* minimum, unsigned int* maximum, unsigned int* preferred);

/* Cancel the present image, or all of the batch: for the handlers of SM_MESSAGE_XFERSTART and
 * SM_MESSAGE_XFERDATA. Elsewhere they have no effect, as each image begins with no cancel asked; except that
 * smCancelAllXfer from a SM_MESSAGE_XFEREND handler still ends the batch. smCancelThisXfer takes an earlier
 * smCancelAllXfer back, and each smReadBlock takes back either. smCancelAllXfer returns 1. No state check.
 * Ordinals 46 and 47. */
void WINAPI smCancelThisXfer(void);
int WINAPI smCancelAllXfer(void);

/* Pulls the next strip of the image that is ready into the host's buffer.
 *
 * buffer, size: where to, and how many bytes are wanted. The buffer must have room for one row MORE than
 *   size says: rows are copied whole.
 * *count: the bytes delivered; 0xFFFFFFFF when the image is over.
 * Returns 1 when *count is 0xFFFFFFFF after the call, else 0.
 *
 * Rows come top-down and without padding, colours as red, green, blue: nothing is converted. A row is 3
 * bytes per pixel for SM_PIXEL_RGB, 1 byte per pixel for every other type whatever its depth. So it serves
 * 24-bit colour and 8 bits per pixel; at 1 or 4 bits the row's own bytes come first and the rest of it has
 * no meaning, and only as many rows as fit size count (ask for one row at a time); deeper samples are cut.
 *
 * The last strip: returns 1 and doesn't say how long it is, but its bytes are in the buffer. It holds what
 * is missing from the image's size (smGetImageDim); a host that fills the buffer with a pattern before each
 * call sees for itself how far it was written. An image that was cancelled or failed also returns 1, then
 * with nothing in the buffer. A count that stays what it was before the call (set it to a value of your own)
 * is another failure: the image is still open, and may be tried again or cancelled.
 *
 * When: in the SM_MESSAGE_XFERSTART handler of a memory transfer. Each image ends by itself with its last
 * strip, and the next one is ready when smGetImageDim isn't 0 and 0. The handler pulls all the images it
 * wants and then calls smCancelAllXfer, after the last smReadBlock and before it returns, so that the module
 * ends the batch (one SM_MESSAGE_XFEREND with -5 follows) instead of transferring by itself; the same ends
 * an image that was pulled only in part. When the batch goes on after such a part (smCancelThisXfer), its
 * next image is taken to be of the same pixel type. Ordinal 61. */
int WINAPI smReadBlock(void* buffer, unsigned int size, unsigned int* count);

/* ---- One call from scanner to file ----------------------------------------------------------------------
 */

/* Opens the source (see smOpenDS for window and title; one that is open already is used), sets it up,
 * enables it and returns 1 when it waits or scans, 0 on failure. window must not be null: nobody could name
 * the file. The host goes on with its message loop; then SM_MESSAGE_SCANTOFILEGETNAME asks for the name of
 * the file (a BMP; an existing one is deleted), SM_MESSAGE_SCANTOFILEXFEREND tells how it went, and the
 * module closes the source and sends SM_MESSAGE_SCANTOFILEDSCLOSED. The handlers must call none of the
 * session functions. settings: null for the defaults. A pixel type or resolution that the source refuses
 * makes it show its window. Memory transfer is tried first, then file, then native; the BMP files that the
 * module itself makes from a memory transfer carry no resolution. Written are 1-bit, 8-bit gray, 4- and
 * 8-bit palette and 24-bit images; other types end with a message box and SM_SCANTOFILE_BAD_IMAGE. The
 * message boxes are in Spanish. Keep '%' out of the path: when the source writes the file itself, the path
 * is used as a wsprintf format, else not. With MorePages set and pages left (and, with FeederEnable, no
 * paper in the feeder) a question box asks about further pages; whatever the answer the session ends, and
 * the host may start the next. One scan is one file. From the first call that gets as far as enabling the
 * source the module stays in this mode: later scans of the same process that are started with smEnableDS are
 * also written to a file this way, until the library is loaded anew. In this mode neither
 * SM_MESSAGE_CLOSEDSREQ nor any SM_MESSAGE_XFER... comes: the module closes the source when it asks for it,
 * and SM_MESSAGE_SCANTOFILEDSCLOSED tells. When the source takes none of the three mechanisms it stays open:
 * call smCloseDS. With a source enabled nothing starts, but window, title and settings are taken over.
 * States: 2, 3, 4. Ordinal 51. */
int WINAPI smPrestoScan(HWND window, const char* title, const PrestoScanSettings* settings);

/* ---- The maker's extensions ---------------------------------------------------------------------------- */
/*
 * Sources of other makers answer these with a condition code (CAP_UNSUPPORTED, BAD_CAP or BAD_PROTOCOL). The
 * names are spelt as they are. Switches are sent as given. Without a state check: below state 4 the manager
 * is asked and refuses.
 */

/* *version: the firmware's version; 0 when the source doesn't answer. Ordinal 66. */
int WINAPI smGetKvVersion(unsigned short* version);

/* Exposure mode, one of the source's numbers. Ordinal 67. */
int WINAPI smSetKvExposureMode(unsigned short mode);

/* Descreening, and the highest resolution in dots per inch at which the source can do it. Ordinals 68, 77. */
int WINAPI smSetKvDescreeing(int enable);
int WINAPI smGetMaxResForKvDescreeing(double* dotsPerInch);

/* A fast, coarse scan. Ordinal 69. */
int WINAPI smSetKvDraftScan(int enable);

/* Tone tables and colour correction that the source uses, by its own numbers. smGetKvLUT2 makes no state
 * check. Ordinals 70, 71 and 72. */
int WINAPI smGetKvLUT1(unsigned short* table);
int WINAPI smGetKvLUT2(unsigned short* table);
int WINAPI smGetKvCC(unsigned short* correction);

/* Blocks of the host's whose layout and size the source defines; passed through. Ordinals 73 and 75. */
int WINAPI smSetKvAutoExposureMode(void* block);
int WINAPI smGetKvDefaultRgbMatrix(void* block);

/* RGB response curves: a TW_RGBRESPONSE as large as the source expects it. No state check. Ordinals 74, 76.
 */
int WINAPI smGetKvRgbResponse(void* response);
int WINAPI smSetKvRgbResponse(void* response);

/* Unsharp mask. Ordinals 79 and 80. */
int WINAPI smSetKvUnSharpMask(int enable);
int WINAPI smGetKvUnSharpMask(unsigned short* enabled);

/* The source's window: the setter takes the source's numbers (0, 1, 3), the getter gives 0, 1, 2 for them
 * and 0 for every other. When the source doesn't answer, what the output held is mapped that way, twice:
 * only a 1 stays, all else becomes 0. Ordinals 81 and 82. */
int WINAPI smSetKvUIMode(unsigned short mode);
int WINAPI smGetKvUIMode(unsigned short* mode);

/* Ejecting the page (CAP_CLEARPAGE). The setter makes no state check. Ordinals 101 and 102. */
int WINAPI smSetClearPage(int clear);
int WINAPI smGetClearPage(unsigned short* clear);

/* A private switch of the maker's software. The setter makes no state check. Ordinals 103 and 104. */
int WINAPI smSetPIMFlag(int flag);
int WINAPI smGetPIMFlag(unsigned short* flag);

/* ---- Keeping the host's windows quiet --------------------------------------------------------------------
 */

/* A callback for EnumThreadWindows and the like; context is the address of an SmDisableWndsContext. Windows
 * that are children or disabled already are skipped. Run it first with NextSlot null to learn Count, then
 * with NextSlot at an array of so many handles: each window is stored there and disabled. The host enables
 * them again itself. Always TRUE. Ordinal 100. */
BOOL WINAPI DisableWnds(HWND window, LPARAM context);

#ifdef __cplusplus
}
#endif

#endif
