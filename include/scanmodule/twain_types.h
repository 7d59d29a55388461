/*
 * The structures and constants of the TWAIN standard, version 1.x, that the scan module, its virtual scanner
 * and its tests use. They have the standard's names, so this header can't be included together with another
 * twain.h; the public header scanmodule.h doesn't include it. C89 and C++.
 */
#ifndef SCANMODULE_TWAIN_TYPES_H
#define SCANMODULE_TWAIN_TYPES_H

#include <windows.h>

typedef char TW_STR32[34];
typedef char TW_STR64[66];
typedef char TW_STR128[130];
typedef char TW_STR255[256];
typedef signed char TW_INT8;
typedef short TW_INT16;
typedef long TW_INT32;
typedef unsigned char TW_UINT8;
typedef unsigned short TW_UINT16;
typedef unsigned long TW_UINT32;
typedef unsigned short TW_BOOL;
typedef HANDLE TW_HANDLE;
typedef LPVOID TW_MEMREF;

/* The standard lays its structures out with two-byte packing. */
#pragma pack(push, 2)

typedef struct {
    TW_INT16 Whole;
    TW_UINT16 Frac;
} TW_FIX32;

typedef struct {
    TW_FIX32 Left;
    TW_FIX32 Top;
    TW_FIX32 Right;
    TW_FIX32 Bottom;
} TW_FRAME;

typedef struct {
    TW_UINT16 MajorNum;
    TW_UINT16 MinorNum;
    TW_UINT16 Language;
    TW_UINT16 Country;
    TW_STR32 Info;
} TW_VERSION;

typedef struct {
    TW_UINT32 Id;
    TW_VERSION Version;
    TW_UINT16 ProtocolMajor;
    TW_UINT16 ProtocolMinor;
    TW_UINT32 SupportedGroups;
    TW_STR32 Manufacturer;
    TW_STR32 ProductFamily;
    TW_STR32 ProductName;
} TW_IDENTITY, *pTW_IDENTITY;

typedef struct {
    TW_BOOL ShowUI;
    TW_BOOL ModalUI;
    TW_HANDLE hParent;
} TW_USERINTERFACE;

typedef struct {
    TW_UINT16 ConditionCode;
    TW_UINT16 Reserved;
} TW_STATUS;

typedef struct {
    TW_MEMREF pEvent;
    TW_UINT16 TWMessage;
} TW_EVENT;

typedef struct {
    TW_UINT16 Cap;
    TW_UINT16 ConType;
    TW_HANDLE hContainer;
} TW_CAPABILITY;

typedef struct {
    TW_UINT16 ItemType;
    TW_UINT32 Item;
} TW_ONEVALUE;

typedef struct {
    TW_UINT16 ItemType;
    TW_UINT32 NumItems;
    TW_UINT8 ItemList[1];
} TW_ARRAY;

typedef struct {
    TW_UINT16 ItemType;
    TW_UINT32 NumItems;
    TW_UINT32 CurrentIndex;
    TW_UINT32 DefaultIndex;
    TW_UINT8 ItemList[1];
} TW_ENUMERATION;

typedef struct {
    TW_UINT16 ItemType;
    TW_UINT32 MinValue;
    TW_UINT32 MaxValue;
    TW_UINT32 StepSize;
    TW_UINT32 DefaultValue;
    TW_UINT32 CurrentValue;
} TW_RANGE;

typedef struct {
    TW_FIX32 XResolution;
    TW_FIX32 YResolution;
    TW_INT32 ImageWidth;
    TW_INT32 ImageLength;
    TW_INT16 SamplesPerPixel;
    TW_INT16 BitsPerSample[8];
    TW_INT16 BitsPerPixel;
    TW_BOOL Planar;
    TW_INT16 PixelType;
    TW_UINT16 Compression;
} TW_IMAGEINFO;

typedef struct {
    TW_FRAME Frame;
    TW_UINT32 DocumentNumber;
    TW_UINT32 PageNumber;
    TW_UINT32 FrameNumber;
} TW_IMAGELAYOUT;

typedef struct {
    TW_UINT32 Flags;
    TW_UINT32 Length;
    TW_MEMREF TheMem;
} TW_MEMORY;

typedef struct {
    TW_UINT16 Compression;
    TW_UINT32 BytesPerRow;
    TW_UINT32 Columns;
    TW_UINT32 Rows;
    TW_UINT32 XOffset;
    TW_UINT32 YOffset;
    TW_UINT32 BytesWritten;
    TW_MEMORY Memory;
} TW_IMAGEMEMXFER;

typedef struct {
    TW_UINT32 MinBufSize;
    TW_UINT32 MaxBufSize;
    TW_UINT32 Preferred;
} TW_SETUPMEMXFER;

typedef struct {
    TW_STR255 FileName;
    TW_UINT16 Format;
    TW_INT16 VRefNum;
} TW_SETUPFILEXFER;

typedef struct {
    TW_UINT16 Count;
    TW_UINT32 EOJ;
} TW_PENDINGXFERS;

typedef struct {
    TW_UINT8 Index;
    TW_UINT8 Channel1;
    TW_UINT8 Channel2;
    TW_UINT8 Channel3;
} TW_ELEMENT8;

typedef struct {
    TW_UINT16 NumColors;
    TW_UINT16 PaletteType;
    TW_ELEMENT8 Colors[256];
} TW_PALETTE8;

typedef struct {
    TW_ELEMENT8 Response[1];
} TW_RGBRESPONSE;

#pragma pack(pop)

typedef TW_UINT16(WINAPI* DSMENTRYPROC)(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                        TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);
typedef TW_UINT16(WINAPI* DSENTRYPROC)(pTW_IDENTITY origin, TW_UINT32 group, TW_UINT16 argumentType,
                                       TW_UINT16 message, TW_MEMREF data);

/* Data groups */
enum { DG_CONTROL = 0x0001, DG_IMAGE = 0x0002 };

/* Data argument types */
enum {
    DAT_NULL = 0x0000,
    DAT_CAPABILITY = 0x0001,
    DAT_EVENT = 0x0002,
    DAT_IDENTITY = 0x0003,
    DAT_PARENT = 0x0004,
    DAT_PENDINGXFERS = 0x0005,
    DAT_SETUPMEMXFER = 0x0006,
    DAT_SETUPFILEXFER = 0x0007,
    DAT_STATUS = 0x0008,
    DAT_USERINTERFACE = 0x0009,
    DAT_XFERGROUP = 0x000a,
    DAT_IMAGEINFO = 0x0101,
    DAT_IMAGELAYOUT = 0x0102,
    DAT_IMAGEMEMXFER = 0x0103,
    DAT_IMAGENATIVEXFER = 0x0104,
    DAT_IMAGEFILEXFER = 0x0105,
    DAT_RGBRESPONSE = 0x0108,
    DAT_PALETTE8 = 0x010a,
    DAT_CUSTOMBASE = 0x8000
};

/* Messages */
enum {
    MSG_NULL = 0x0000,
    MSG_GET = 0x0001,
    MSG_GETCURRENT = 0x0002,
    MSG_GETDEFAULT = 0x0003,
    MSG_GETFIRST = 0x0004,
    MSG_GETNEXT = 0x0005,
    MSG_SET = 0x0006,
    MSG_RESET = 0x0007,
    MSG_QUERYSUPPORT = 0x0008,
    MSG_XFERREADY = 0x0101,
    MSG_CLOSEDSREQ = 0x0102,
    MSG_OPENDSM = 0x0301,
    MSG_CLOSEDSM = 0x0302,
    MSG_OPENDS = 0x0401,
    MSG_CLOSEDS = 0x0402,
    MSG_USERSELECT = 0x0403,
    MSG_DISABLEDS = 0x0501,
    MSG_ENABLEDS = 0x0502,
    MSG_PROCESSEVENT = 0x0601,
    MSG_ENDXFER = 0x0701
};

/* Return codes */
enum {
    TWRC_SUCCESS = 0,
    TWRC_FAILURE = 1,
    TWRC_CHECKSTATUS = 2,
    TWRC_CANCEL = 3,
    TWRC_DSEVENT = 4,
    TWRC_NOTDSEVENT = 5,
    TWRC_XFERDONE = 6,
    TWRC_ENDOFLIST = 7
};

/* Condition codes */
enum {
    TWCC_SUCCESS = 0,
    TWCC_BUMMER = 1,
    TWCC_LOWMEMORY = 2,
    TWCC_NODS = 3,
    TWCC_MAXCONNECTIONS = 4,
    TWCC_OPERATIONERROR = 5,
    TWCC_BADCAP = 6,
    TWCC_BADPROTOCOL = 9,
    TWCC_BADVALUE = 10,
    TWCC_SEQERROR = 11,
    TWCC_BADDEST = 12,
    TWCC_CAPUNSUPPORTED = 13,
    TWCC_CAPBADOPERATION = 14,
    TWCC_CAPSEQERROR = 15,
    TWCC_DENIED = 16,
    TWCC_PAPERJAM = 20,
    TWCC_PAPERDOUBLEFEED = 21,
    TWCC_FILEWRITEERROR = 22,
    TWCC_CHECKDEVICEONLINE = 23
};

/* Container kinds */
enum { TWON_ARRAY = 3, TWON_ENUMERATION = 4, TWON_ONEVALUE = 5, TWON_RANGE = 6, TWON_DONTCARE16 = 0xffff };

/* Item types */
enum {
    TWTY_INT8 = 0,
    TWTY_INT16 = 1,
    TWTY_INT32 = 2,
    TWTY_UINT8 = 3,
    TWTY_UINT16 = 4,
    TWTY_UINT32 = 5,
    TWTY_BOOL = 6,
    TWTY_FIX32 = 7,
    TWTY_FRAME = 8,
    TWTY_STR32 = 9,
    TWTY_STR64 = 10,
    TWTY_STR128 = 11,
    TWTY_STR255 = 12
};

/* Operations of a capability, as MSG_QUERYSUPPORT gives them */
enum {
    TWQC_GET = 0x0001,
    TWQC_SET = 0x0002,
    TWQC_GETDEFAULT = 0x0004,
    TWQC_GETCURRENT = 0x0008,
    TWQC_RESET = 0x0010
};

/* Capabilities */
enum {
    CAP_XFERCOUNT = 0x0001,
    ICAP_COMPRESSION = 0x0100,
    ICAP_PIXELTYPE = 0x0101,
    ICAP_UNITS = 0x0102,
    ICAP_XFERMECH = 0x0103,
    CAP_FEEDERENABLED = 0x1002,
    CAP_FEEDERLOADED = 0x1003,
    CAP_SUPPORTEDCAPS = 0x1005,
    CAP_AUTOFEED = 0x1007,
    CAP_CLEARPAGE = 0x1008,
    CAP_INDICATORS = 0x100b,
    CAP_UICONTROLLABLE = 0x100e,
    CAP_DEVICEONLINE = 0x100f,
    ICAP_BRIGHTNESS = 0x1101,
    ICAP_CONTRAST = 0x1103,
    ICAP_GAMMA = 0x1108,
    ICAP_HIGHLIGHT = 0x110a,
    ICAP_IMAGEFILEFORMAT = 0x110c,
    ICAP_LIGHTPATH = 0x111e,
    ICAP_PHYSICALWIDTH = 0x1111,
    ICAP_PHYSICALHEIGHT = 0x1112,
    ICAP_SHADOW = 0x1113,
    ICAP_XNATIVERESOLUTION = 0x1116,
    ICAP_YNATIVERESOLUTION = 0x1117,
    ICAP_XRESOLUTION = 0x1118,
    ICAP_YRESOLUTION = 0x1119,
    ICAP_PLANARCHUNKY = 0x1120,
    ICAP_SUPPORTEDSIZES = 0x1122,
    ICAP_THRESHOLD = 0x1123,
    ICAP_XSCALING = 0x1124,
    ICAP_YSCALING = 0x1125,
    ICAP_PIXELFLAVOR = 0x111f,
    ICAP_BITDEPTH = 0x112b,
    CAP_CUSTOMBASE = 0x8000
};

/* The scanner maker's own: capabilities, and the types of DG_IMAGE data (DAT_) */
enum {
    KV_VERSION = 0x8001,
    KV_DRAFTSCAN = 0x8004,
    KV_EXPOSUREMODE = 0x8005,
    KV_LUT1 = 0x8007,
    KV_LUT2 = 0x8008,
    KV_COLORCORRECTION = 0x8009,
    KV_DESCREENING = 0x800a,
    KV_DESCREENINGLIMIT = 0x800b,
    KV_UNSHARPMASK = 0x800e,
    KV_UIMODE = 0x800f,
    KV_PIMFLAG = 0x8010
};
enum { KV_DAT_AUTOEXPOSURE = 0x8001, KV_DAT_DEFAULTRGBMATRIX = 0x8002 };

/* Capability values */
enum { TWSX_NATIVE = 0, TWSX_FILE = 1, TWSX_MEMORY = 2 };
enum {
    TWPT_BW = 0,
    TWPT_GRAY = 1,
    TWPT_RGB = 2,
    TWPT_PALETTE = 3,
    TWPT_CMY = 4,
    TWPT_CMYK = 5,
    TWPT_YUV = 6,
    TWPT_YUVK = 7,
    TWPT_CIEXYZ = 8
};
enum {
    TWUN_INCHES = 0,
    TWUN_CENTIMETERS = 1,
    TWUN_PICAS = 2,
    TWUN_POINTS = 3,
    TWUN_TWIPS = 4,
    TWUN_PIXELS = 5
};
enum { TWPF_CHOCOLATE = 0, TWPF_VANILLA = 1 };
enum { TWPC_CHUNKY = 0, TWPC_PLANAR = 1 };
enum { TWCP_NONE = 0, TWCP_PACKBITS = 1 };
enum { TWLP_REFLECTIVE = 0, TWLP_TRANSMISSIVE = 1 };
enum {
    TWSS_NONE = 0,
    TWSS_A4LETTER = 1,
    TWSS_B5LETTER = 2,
    TWSS_USLETTER = 3,
    TWSS_USLEGAL = 4,
    TWSS_A5 = 5,
    TWSS_B4 = 6,
    TWSS_B6 = 7,
    TWSS_B = 8,
    TWSS_USLEDGER = 9,
    TWSS_A3 = 11,
    TWSS_A6 = 13
};
enum { TWFF_BMP = 2 };
enum { TWPA_RGB = 0, TWPA_GRAY = 1, TWPA_CMY = 2 };
enum {
    TWMF_APPOWNS = 0x0001,
    TWMF_DSMOWNS = 0x0002,
    TWMF_DSOWNS = 0x0004,
    TWMF_POINTER = 0x0008,
    TWMF_HANDLE = 0x0010
};
enum { TWLG_USA = 13, TWCY_USA = 1 };

#endif
