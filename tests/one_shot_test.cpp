// The one-shot scan: one call sets the source up; when the image is ready it goes into a file, and the
// session ends. Each route times each way in which it can end.
#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>

#include "MessageBoxRobot.h"
#include "OneShotStage.h"

namespace {

// What opening asks a source that knows no capability.
const Lines opened = Lines{"OPENDSM", "GETDEFAULT", "OPENDS"} + refused("GET ICAP_BRIGHTNESS") +
                     refused("GETCURRENT ICAP_BRIGHTNESS") + refused("GET ICAP_CONTRAST") +
                     refused("GETCURRENT ICAP_CONTRAST") + refused("GET ICAP_HIGHLIGHT") +
                     refused("GETCURRENT ICAP_HIGHLIGHT") + refused("GET ICAP_SHADOW") +
                     refused("GETCURRENT ICAP_SHADOW") + refused("GET ICAP_THRESHOLD") +
                     refused("GETCURRENT ICAP_THRESHOLD") + Lines{"SET ICAP_XFERMECH one UINT16 2"} +
                     refused("GETCURRENT ICAP_XFERMECH") + refused("GET ICAP_XFERMECH");
const Lines closed = {"ENDXFER", "RESET", "DISABLEDS show 0 modal 1", "CLOSEDS", "CLOSEDSM"};

Page grayPage() {
    return {imageInfo(TWPT_GRAY, 8, 4, 4), cutRows(pattern(16), 4, 4, 2)};
}

Lines ended(int result) {
    return {"ScanToFileGetName", "ScanToFileXferEnd " + std::to_string(result), "ScanToFileDSClosed"};
}

// The settings as they reach the source, which names no tone range: -1000 to 1000 then. Negative numbers
// arrive with the fraction that the module's conversion gives them.
Lines sent(const std::string& pixelType, const std::string& resolution, const std::string& brightness,
           const std::string& contrast, const std::string& highlight, const std::string& shadow,
           const std::string& count, const std::string& feeder) {
    return {"SET ICAP_PIXELTYPE one UINT16 " + pixelType,   "GETCURRENT ICAP_UNITS",
            "SET ICAP_XRESOLUTION one FIX32 " + resolution, "GETCURRENT ICAP_UNITS",
            "SET ICAP_YRESOLUTION one FIX32 " + resolution, "SET ICAP_BRIGHTNESS one FIX32 " + brightness,
            "SET ICAP_CONTRAST one FIX32 " + contrast,      "SET ICAP_HIGHLIGHT one FIX32 " + highlight,
            "SET ICAP_SHADOW one FIX32 " + shadow,          "SET CAP_XFERCOUNT one INT16 " + count,
            "SET CAP_FEEDERENABLED one BOOL " + feeder,     "SET ICAP_XFERMECH one UINT16 2"};
}

// Whether an ordinary session's image goes into a file.
bool staysInFileMode(OneShotStage& stage) {
    stage.source.put({grayPage()});
    if (stage.manager.state() == 2) stage.module.OpenDS(stage.host.window(), nullptr);
    stage.module.EnableDS(FALSE, FALSE);
    stage.forget();
    stage.deliver(MSG_XFERREADY);
    return stage.host.messages().front() == "ScanToFileGetName";
}

}  // namespace

TEST_CASE("the settings reach the source, in their order") {
    OneShotStage stage;
    const auto start = [&](const PrestoScanSettings* settings) {
        CHECK(stage.module.PrestoScan(stage.host.window(), "Some Host", settings) == 1);
    };
    SUBCASE("defaults") {
        start(nullptr);
        CHECK(stage.manager.calls() == opened +
                                           sent("1", "300", "0", "0", "1000", "-1000+1/65536", "1", "1") +
                                           Lines{"ENABLEDS show 1 modal 1"});
    }
    SUBCASE("the host's") {
        PrestoScanSettings& s = stage.settings;
        s.PixelType = SM_PIXEL_RGB;
        s.Resolution = 150;
        s.Brightness = 20, s.BrightnessMin = -100, s.BrightnessMax = 100;
        s.Contrast = -30, s.ContrastMin = -100, s.ContrastMax = 100;
        s.Highlight = 128, s.Shadow = 51;
        s.MorePages = 7;
        start(&s);
        CHECK(stage.manager.calls() ==
              opened + sent("2", "150", "200", "-300+1/65536", "4", "-600+1/65536", "-1", "0") +
                  Lines{"ENABLEDS show 0 modal 0"});
    }
    SUBCASE("validated") {
        PrestoScanSettings& s = stage.settings;
        s.PixelType = 3;
        s.Resolution = -5;
        s.Brightness = 2000, s.BrightnessMin = -1000;
        s.FeederEnable = 1, s.ModalUI = 1;
        start(&s);
        CHECK(stage.manager.calls() ==
              opened + sent("1", "100", "500", "-1000+1/65536", "1000", "-1000+1/65536", "1", "1") +
                  Lines{"ENABLEDS show 1 modal 1"});
        CHECK(stage.settings.PixelType == 3);
    }
    CHECK(std::string(stage.manager.application().ProductName) == "Some Host");
    CHECK(stage.manager.userInterface().hParent == stage.host.window());
    CHECK(stage.viewer.traces().with("::PrestoScan") ==
          Lines{"Coming TScanModule::PrestoScan", "Processing some settings in TScanModule::PrestoScan",
                "Set Xfer Mech in TScanModule::PrestoScan", "Leaving TScanModule::PrestoScan"});
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("a setting that the source refuses makes it show its window") {
    struct Row {
        TW_UINT16 capability;
        std::string warning;
        bool shows;
        bool asksForY;
    };
    const std::string resolution = "Resolution setting return failure in TScanModule::PrestoScan";
    const Row rows[] = {
        {ICAP_PIXELTYPE, "SetPixelType returns failure in TScanModule::PrestoScan", true, true},
        {ICAP_XRESOLUTION, resolution, true, false},
        {ICAP_YRESOLUTION, resolution, true, true},
        {ICAP_BRIGHTNESS, "", false, true},
        {ICAP_SHADOW, "", false, true},
        {CAP_XFERCOUNT, "", false, true},
        {CAP_FEEDERENABLED, "", false, true},
    };
    for (const Row& row : rows) {
        CAPTURE(row.capability);
        OneShotStage stage;
        stage.manager.answer(operation::set(row.capability), failWith(TWCC_BADVALUE));
        CHECK(stage.module.PrestoScan(stage.host.window(), "Host", &stage.settings) == 1);
        CHECK(stage.manager.calls().back() ==
              (row.shows ? "ENABLEDS show 1 modal 0" : "ENABLEDS show 0 modal 0"));
        CHECK(stage.viewer.warnings().with("::PrestoScan") ==
              (row.warning.empty() ? Lines{} : Lines{row.warning}));
        CHECK(stage.manager.calls().with("SET ICAP_YRESOLUTION").empty() != row.asksForY);
    }
}

TEST_CASE("a scan that doesn't begin") {
    OneShotStage stage({grayPage()});
    const auto start = [&] { return stage.module.PrestoScan(stage.host.window(), "Host", &stage.settings); };
    SUBCASE("the source doesn't open") {
        stage.manager.answerNext(operation::openDs, failWith(TWCC_MAXCONNECTIONS));
        CHECK(start() == 0);
        CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS", "STATUS", "CLOSEDSM"});
        CHECK(stage.viewer.warnings().back() == "OpenDS returns failure in TScanModule::PrestoScan");
        CHECK_FALSE(staysInFileMode(stage));
    }
    SUBCASE("the source takes no mechanism: it stays open") {
        stage.refuseMechanisms(3);
        CHECK(start() == 0);
        Lines attempts;
        for (const char* const mechanism : {"2", "1", "0"})
            for (const char* const type : {"UINT16 ", "INT16 ", "BOOL "})
                attempts += refused(std::string("SET ICAP_XFERMECH one ") + type + mechanism);
        CHECK(stage.manager.calls().last(attempts.size()) == attempts);
        CHECK(stage.viewer.warnings().with("::PrestoScan") == Lines{});
        CHECK(stage.manager.state() == 4);
        CHECK_FALSE(staysInFileMode(stage));
    }
    SUBCASE("the source isn't enabled: it is closed, and files it is from now on") {
        stage.manager.answerNext(operation::enableDs, failWith(TWCC_OPERATIONERROR));
        CHECK(start() == 0);
        CHECK(stage.manager.calls().last(4) ==
              Lines{"ENABLEDS show 0 modal 0", "STATUS", "CLOSEDS", "CLOSEDSM"});
        CHECK(stage.viewer.warnings().with("able") ==
              Lines{"DSM_Entry returns failure in TScanModule::EnableDS",
                    "EnableDS returns failure in TScanModule::PrestoScan",
                    "DS is already disabled in TScanModule::DisableDS"});
        CHECK(stage.manager.state() == 2);
        CHECK(staysInFileMode(stage));
    }
}

namespace {

// A route's own operations and words.
struct Route {
    std::string name;
    unsigned short mechanism;
    std::string method;
    Lines prepares, transfers;
    Operation transfer;
    std::string asksName, infoFailed, unknownSize, ends, closes;
    Lines notes;
};

const Route routes[] = {
    {"memory",
     SM_MECH_MEMORY,
     "PrestoScanDoMemXfer",
     {"SETUPMEMXFER", "GETCURRENT ICAP_UNITS"},
     {"IMAGEMEMXFER", "IMAGEMEMXFER"},
     operation::memoryTransfer,
     "Send WM_SCANTOFILEGETNAME to get file name",
     "Error in MSG_GET DAT_IMAGEINFO",
     "Cannot support unknown length or height",
     "Send WM_SCANTOFILEXFEREND",
     "Send WM_SCANTOFILEDSCLOSED",
     {"Do while-loop to get image data"}},
    {"file",
     SM_MECH_FILE,
     "PrestoScanDoFileXfer",
     {"SET SETUPFILEXFER C:\\one-shot.bmp format 2"},
     {"IMAGEFILEXFER"},
     operation::fileTransfer,
     "Send SM_SCANTOFILEGETNAME to get file name",
     "MSG_GET DAT_IMAGEINFO error",
     "Cannot support unknown length or height",
     "Send WM_SCANTOFILEXFEREND to AP",
     "Send WM_SCANTOFILEDSCLOSED to AP",
     {"MSG_SET DAT_SETUPFILEXFER", "MSG_GET DAT_IMAGEFILEXFER"}},
    {"native",
     SM_MECH_NATIVE,
     "PrestoScanDoNativeXfer",
     {},
     {"IMAGENATIVEXFER"},
     operation::nativeTransfer,
     "Send SM_SCANTOFILEGETNAME to get file name",
     "MSG_GET DAT_IMAGEINFO error",
     "MSG_GET DAT_IMAGEINFO error",
     "Send WM_SCANTOFILEXFEREND to AP",
     "Send WM_SCANTOFILEDSCLOSED",
     {"MSG_GET DAT_IMAGENATIVEXFER"}},
};

// Puts in place what a file or native transfer yields; memory transfer has its strips.
void provide(OneShotStage& stage) {
    stage.manager.answer(operation::fileTransfer, {TWRC_XFERDONE, TWCC_SUCCESS, {}, [&](TW_MEMREF) {
                                                       std::ofstream(stage.path) << "the source's";
                                                   }});
    stage.manager.answer(operation::nativeTransfer, {TWRC_XFERDONE, TWCC_SUCCESS, {}, [](TW_MEMREF data) {
                                                         BITMAPINFOHEADER header = {};
                                                         header.biSize = sizeof header;
                                                         header.biWidth = header.biHeight = 4;
                                                         header.biPlanes = 1;
                                                         header.biBitCount = 8;
                                                         const HGLOBAL block = GlobalAlloc(GHND, 40 + 16);
                                                         std::memcpy(GlobalLock(block), &header,
                                                                     sizeof header);
                                                         GlobalUnlock(block);
                                                         ModuleCalls::adopt(block);
                                                         *static_cast<HGLOBAL*>(data) = block;
                                                     }});
}

struct Ending {
    std::string name;
    std::function<void(OneShotStage&, const Route&)> bringAbout;
    int result;
    // Of the route's own operations, all that come before this one fails.
    enum Reached { Description, Preparation, Transfer, Refusal, All } reached;
    std::function<Lines(const Route&)> warnings;
};

// A single line that names the route.
auto own(const std::string& words) {
    return [=](const Route& route) { return Lines{words + " in TScanModule::" + route.method}; };
}

Page described(TW_INT32 width, TW_INT32 length, TW_INT16 bits = 8) {
    Page page = grayPage();
    page.info.ImageWidth = width, page.info.ImageLength = length, page.info.BitsPerPixel = bits;
    return page;
}

const auto unknownSize = [](const Route& route) { return own(route.unknownSize)(route); };

const Ending endings[] = {
    {"done", [](OneShotStage&, const Route&) {}, 0, Ending::All, [](const Route&) { return Lines{}; }},
    {"cancelled",
     [](OneShotStage& stage, const Route& route) {
         stage.manager.answer(route.transfer, returnCode(TWRC_CANCEL));
     },
     -4, Ending::Transfer, own("Image xfer canceled")},
    {"refused",
     [](OneShotStage& stage, const Route& route) {
         stage.manager.answer(route.transfer, failWith(TWCC_PAPERJAM));
     },
     20, Ending::Refusal,
     // Memory transfer notes it at level Trace.
     [](const Route& route) {
         return route.mechanism == SM_MECH_MEMORY ? Lines{} : own("Image xfer error")(route);
     }},
    {"unknown width", [](OneShotStage& stage, const Route&) { stage.source.put({described(-1, 4)}); }, 1,
     Ending::Description, unknownSize},
    {"unknown length", [](OneShotStage& stage, const Route&) { stage.source.put({described(4, -1)}); }, 1,
     Ending::Description, unknownSize},
    {"no description", [](OneShotStage& stage, const Route&) { stage.source.put({}); }, 1,
     Ending::Description, [](const Route& route) { return own(route.infoFailed)(route); }},
    {"unsupported depth", [](OneShotStage& stage, const Route&) { stage.source.put({described(4, 4, 16)}); },
     1, Ending::Description, own("Invalid pixel type")},
    {"no room on the disk",
     [](OneShotStage& stage, const Route&) {
         stage.source.put({described(400, 400)});
         stage.windows.freeDiskSpace = {1, 1, 1000};
     },
     -2, Ending::Description,
     [](const Route& route) {
         return Lines{"Disk space is not enough in TScanModule::CheckDiskSpace"} +
                own("CheckDiskSpace returns failure")(route);
     }},
    {"a folder that isn't there",
     [](OneShotStage& stage, const Route&) { stage.path = "C:\\no such folder\\one-shot.bmp"; }, -3,
     Ending::Description,
     [](const Route& route) {
         return Lines{"Create file error in TScanModule::CheckDiskSpace"} +
                own("CheckDiskSpace returns failure")(route);
     }},
};

}  // namespace

TEST_CASE("each route, each way it can end") {
    for (const Route& route : routes) {
        for (const Ending& ending : endings) {
            CAPTURE(route.name);
            CAPTURE(ending.name);
            OneShotStage stage({grayPage()});
            stage.path = "C:\\one-shot.bmp";
            std::ofstream(stage.path) << "an old file";
            provide(stage);
            stage.start(route.mechanism);
            ending.bringAbout(stage, route);
            CHECK(stage.deliver(MSG_XFERREADY));
            CHECK(stage.host.messages() == ended(ending.result));
            CHECK(stage.hasFile() == (ending.result == 0));
            CHECK(stage.viewer.warnings() == ending.warnings(route));

            Lines calls = {"PROCESSEVENT", "IMAGEINFO"};
            if (ending.reached >= Ending::Transfer) calls += route.prepares;
            if (ending.reached == Ending::All) calls += route.transfers;
            if (ending.reached == Ending::Transfer) calls.push_back(route.transfers.front());
            if (ending.reached == Ending::Refusal) calls += refused(route.transfers.front());
            CHECK(stage.manager.calls() == calls + closed);
            CHECK(stage.manager.state() == 2);
            CHECK(stage.windows.memoryComplaints() == Lines{});

            // The route's lines, whatever the methods in between write.
            const std::string in = " in TScanModule::" + route.method;
            Lines notes = {"Coming TScanModule::" + route.method, route.asksName + in};
            if (ending.reached >= Ending::Transfer) {
                for (const std::string& note : route.notes)
                    notes.push_back(note + in);
            }
            if (ending.reached == Ending::Refusal && route.mechanism == SM_MECH_MEMORY)
                notes.push_back("Image xfer error" + in);
            notes += {route.ends + in, route.closes + in, "Leaving TScanModule::" + route.method};
            CHECK(stage.viewer.traces().with(route.method) == notes);
        }
    }
}

TEST_CASE("an old file makes room before the source is asked for anything") {
    struct Row {
        unsigned short mechanism;
        size_t fileSize;
    };
    for (const Row& row : {Row{SM_MECH_MEMORY, 1078 + 16}, {SM_MECH_FILE, 12}, {SM_MECH_NATIVE, 54 + 16}}) {
        CAPTURE(row.mechanism);
        OneShotStage stage({grayPage()});
        provide(stage);
        std::ofstream(stage.path) << std::string(5000, 'x');
        bool isGone = false;
        stage.manager.answer(operation::imageInfo, fill<TW_IMAGEINFO>([&](TW_IMAGEINFO& info) {
                                 info = grayPage().info;
                                 isGone = !stage.hasFile();
                             }));
        CHECK(stage.scan(row.mechanism) == ended(0));
        CHECK(isGone);
        CHECK(stage.fileBytes().size() == row.fileSize);
    }
}

TEST_CASE("a source that doesn't take the file's name") {
    OneShotStage stage({grayPage()});
    stage.manager.answer(operation::setupFile, failWith(TWCC_BADVALUE));
    CHECK(stage.scan(SM_MECH_FILE) == ended(TWCC_BADVALUE));
    CHECK(stage.viewer.warnings() ==
          Lines{"MSG_SET DAT_SETUPFILEXFER error in TScanModule::PrestoScanDoFileXfer"});
    CHECK_FALSE(stage.hasFile());
}

TEST_CASE("names of files") {
    struct Row {
        std::string name;
        unsigned short mechanism;
        std::string file;
    };
    const Row rows[] = {
        {"100%%.bmp", SM_MECH_FILE, "100%.bmp"},  // a format text where the source writes, nowhere else
        {"100%%.bmp", SM_MECH_MEMORY, "100%%.bmp"},
        {"100%%.bmp", SM_MECH_NATIVE, "100%%.bmp"},
        {std::string(180, 'n') + ".bmp", SM_MECH_MEMORY, std::string(180, 'n') + ".bmp"},
        {std::string(180, 'n') + ".bmp", SM_MECH_FILE, std::string(180, 'n') + ".bmp"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({grayPage()}, row.name);
        const std::string folder = stage.path.substr(0, stage.path.size() - row.name.size());
        provide(stage);
        std::string told;
        stage.manager.answer(operation::setupFile,
                             fill<TW_SETUPFILEXFER>([&](TW_SETUPFILEXFER& setup) { told = setup.FileName; }));
        CHECK(stage.scan(row.mechanism) == ended(0));
        CHECK(told == (row.mechanism == SM_MECH_FILE ? folder + row.file : ""));
        CHECK(stage.hasFile());
    }
}

TEST_CASE("the host hears of the end when the source is closed") {
    OneShotStage stage({grayPage()});
    const std::pair<Operation, const char*> operations[] = {
        {operation::memoryTransfer, "strip"}, {operation::endTransfer, "end"},
        {operation::resetTransfers, "reset"}, {operation::disableDs, "disable"},
        {operation::closeDs, "close"},        {operation::closeDsm, "close manager"}};
    for (const auto& [operation, name] : operations) {
        const TW_UINT16 code = operation.argumentType == DAT_IMAGEMEMXFER ? TWRC_XFERDONE : TWRC_SUCCESS;
        stage.manager.answer(operation, {code, TWCC_SUCCESS, {}, [&stage, name = name](TW_MEMREF) {
                                             stage.host.record(name);
                                         }});
    }
    CHECK(stage.scan() == Lines{"ScanToFileGetName", "strip", "ScanToFileXferEnd 0", "end", "reset",
                                "disable", "close", "close manager", "ScanToFileDSClosed"});
}

TEST_CASE("only some kinds of image can be stored; for others there is a box") {
    struct Row {
        TW_INT16 pixelType, bits;
        bool stored;
    };
    const Row rows[] = {
        {TWPT_BW, 1, true},
        {TWPT_GRAY, 8, true},
        {TWPT_PALETTE, 4, true},
        {TWPT_PALETTE, 8, true},
        {TWPT_RGB, 24, true},
        {TWPT_BW, 8, false},
        {TWPT_BW, 0, false},
        {TWPT_GRAY, 1, false},
        {TWPT_GRAY, 4, false},
        {TWPT_GRAY, 16, false},
        {TWPT_PALETTE, 1, false},
        {TWPT_PALETTE, 2, false},
        {TWPT_PALETTE, 24, false},
        {TWPT_RGB, 8, false},
        {TWPT_RGB, 48, false},
        {TWPT_CMY, 24, false},
        {TWPT_CMYK, 32, false},
        {TWPT_YUV, 24, false},
        {9, 8, false},
        {-1, 1, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.pixelType);
        CAPTURE(row.bits);
        OneShotStage stage({{imageInfo(row.pixelType, row.bits, 4, 1), cutRows(pattern(12), 12, 4, 1)}});
        CHECK(stage.scan() == ended(row.stored ? 0 : 1));
        REQUIRE(stage.windows.messageBoxes.size() == (row.stored ? 0 : 1));
        if (row.stored) continue;
        const MessageBoxCall& box = stage.windows.messageBoxes.front();
        CHECK(box.text == "Tipo de p\xEDxel no v\xE1lido");
        CHECK(box.caption == "Error");
        CHECK(box.style == 0x2000);
        CHECK(box.owner == GetFocus());
    }
}

TEST_CASE("whether there are more pages is asked") {
    struct Row {
        std::string name;
        int morePages, feeder;
        int pages;  // ready, with the one that is scanned
        Answer loaded;
        bool asksPaper, asksUser;
    };
    const Answer paper = give(oneValue(TWTY_BOOL, 1)), noPaper = give(oneValue(TWTY_BOOL, 0));
    const Row rows[] = {
        {"not wanted", 0, 0, 2, paper, false, false},
        {"not wanted, from the feeder", 0, 1, 2, noPaper, false, false},
        {"none left", 1, 0, 1, paper, false, false},
        {"none left, from the feeder", 1, 1, 1, noPaper, false, false},
        {"from the glass", 1, 0, 2, paper, false, true},
        {"the feeder has paper", 1, 1, 2, paper, true, false},
        {"the feeder is empty", 1, 1, 2, noPaper, true, true},
        {"the feeder says nothing", 1, 1, 2, failWith(TWCC_BADCAP), true, true},
    };
    for (const Row& row : rows) {
        for (const int button : {IDYES, IDNO}) {
            CAPTURE(row.name);
            OneShotStage stage(std::vector<Page>(row.pages, grayPage()));
            stage.settings.MorePages = row.morePages;
            stage.settings.FeederEnable = row.feeder;
            stage.manager.answer(operation::getCurrent(CAP_FEEDERLOADED), row.loaded);
            stage.windows.messageBoxAnswer = button;
            CHECK(stage.scan() == ended(0));
            CHECK(stage.manager.calls().with("GETCURRENT CAP_FEEDERLOADED").size() == row.asksPaper);
            CHECK(stage.manager.calls().last(4) == closed.last(4));
            REQUIRE(stage.windows.messageBoxes.size() == row.asksUser);
            if (!row.asksUser) continue;
            const MessageBoxCall& box = stage.windows.messageBoxes.front();
            CHECK(box.text ==
                  "\xBF"
                  "Explorar m\xE1s p\xE1ginas?");
            CHECK(box.caption == "Test Host");
            CHECK(box.style == 0x2004);
            CHECK(box.owner == GetFocus());
        }
    }
}

TEST_CASE("the boxes as a user sees and answers them") {
    OneShotStage stage({grayPage(), grayPage()});
    stage.settings.MorePages = 1;
    stage.start();
    stage.windows.showMessageBoxes = true;
    SUBCASE("yes") {
        MessageBoxRobot user(IDYES);
        stage.deliver(MSG_XFERREADY);
        CHECK(user.boxes() == Lines{"[Test Host] \xBF"
                                    "Explorar m\xE1s p\xE1ginas? (button 6, button 7)"});
        CHECK(stage.host.messages() == ended(0));
    }
    SUBCASE("no") {
        MessageBoxRobot user(IDNO);
        stage.deliver(MSG_XFERREADY);
        CHECK(user.boxes().size() == 1);
        CHECK(stage.host.messages() == ended(0));
    }
    SUBCASE("a page that can't be stored") {
        stage.source.put({described(4, 4, 16)});
        MessageBoxRobot user(IDOK);
        stage.deliver(MSG_XFERREADY);
        CHECK(user.boxes().size() == 1);
        CHECK(user.boxes().front().rfind("[Error] Tipo de p\xEDxel no v\xE1lido (button ", 0) == 0);
        CHECK(stage.host.messages() == ended(1));
    }
    CHECK(stage.manager.state() == 2);
}

TEST_CASE("once files, always files") {
    OneShotStage stage({grayPage()});
    stage.scan();
    SUBCASE("an ordinary session's image") {
        CHECK(staysInFileMode(stage));
        CHECK(stage.host.messages() == ended(0));
    }
    SUBCASE("whatever mechanism it chooses") {
        provide(stage);
        stage.source.put({grayPage()});
        stage.open();
        CHECK(stage.module.SetXferMech(SM_MECH_NATIVE) == 0);
        stage.module.EnableDS(FALSE, FALSE);
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.manager.calls().with("XFER").front() == "SET ICAP_XFERMECH one UINT16 0");
        CHECK(stage.manager.calls().with("IMAGENATIVEXFER").size() == 1);
    }
    SUBCASE("and the module closes what asks to be closed") {
        stage.enable();
        CHECK(stage.deliver(MSG_CLOSEDSREQ));
        CHECK(stage.manager.calls() ==
              Lines{"PROCESSEVENT", "DISABLEDS show 0 modal 1", "CLOSEDS", "CLOSEDSM"});
        CHECK(stage.host.messages() == Lines{"ScanToFileDSClosed"});
    }
}
