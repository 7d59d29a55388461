// The one-shot scan: one call sets the source up; when the image is ready it goes into a file, and the
// session ends. Each route times each way in which it can end.
#include <doctest.h>

#include <algorithm>
#include <fstream>
#include <functional>

#include "OneShotStage.h"

namespace {

// What opening asks a source that knows no capability.
Lines opened() {
    Lines lines = {"OPENDSM", "GETDEFAULT", "OPENDS"};
    for (const std::string tone : {"BRIGHTNESS", "CONTRAST", "HIGHLIGHT", "SHADOW", "THRESHOLD"})
        lines += refused("GET ICAP_" + tone) + refused("GETCURRENT ICAP_" + tone);
    return lines + Lines{"SET ICAP_XFERMECH one UINT16 2"} + refused("GETCURRENT ICAP_XFERMECH") +
           refused("GET ICAP_XFERMECH");
}
const Lines closed = {"ENDXFER", "RESET", "DISABLEDS show 0 modal 1", "CLOSEDS", "CLOSEDSM"};

Page grayPage(TW_INT32 width = 4, TW_INT32 length = 4, TW_INT16 bits = 8) {
    return {imageInfo(TWPT_GRAY, bits, width, length), cutRows(pattern(16), 4, 4, 2)};
}

// The settings as they reach the source, which names no tone range: -1000 to 1000 then. Negative numbers
// arrive with the fraction that the module's conversion gives them.
Lines sent(const std::string& pixelType, const std::string& resolution, const std::vector<std::string>& tones,
           const std::string& count, const std::string& feeder) {
    return {"SET ICAP_PIXELTYPE one UINT16 " + pixelType,   "GETCURRENT ICAP_UNITS",
            "SET ICAP_XRESOLUTION one FIX32 " + resolution, "GETCURRENT ICAP_UNITS",
            "SET ICAP_YRESOLUTION one FIX32 " + resolution, "SET ICAP_BRIGHTNESS one FIX32 " + tones[0],
            "SET ICAP_CONTRAST one FIX32 " + tones[1],      "SET ICAP_HIGHLIGHT one FIX32 " + tones[2],
            "SET ICAP_SHADOW one FIX32 " + tones[3],        "SET CAP_XFERCOUNT one INT16 " + count,
            "SET CAP_FEEDERENABLED one BOOL " + feeder,     "SET ICAP_XFERMECH one UINT16 2"};
}

// Whether an ordinary session's image goes into a file.
bool staysInFileMode(OneShotStage& stage) {
    stage.source.put({grayPage()});
    if (stage.manager.state() == 2) stage.module.OpenDS(stage.host.window(), nullptr);
    stage.module.EnableDS(FALSE, FALSE);
    stage.forget();
    stage.deliver(MSG_XFERREADY);
    return stage.host.messages() == ended(0);
}

}  // namespace

TEST_CASE("the settings reach the source, in their order") {
    OneShotStage stage;
    const auto callsOf = [&](const PrestoScanSettings* settings) {
        CHECK(stage.module.PrestoScan(stage.host.window(), "Some Host", settings) == 1);
        return stage.manager.calls();
    };
    SUBCASE("defaults") {
        CHECK(callsOf(nullptr) == opened() + sent("1", "300", {"0", "0", "1000", "-1000+1/65536"}, "1", "1") +
                                      Lines{"ENABLEDS show 1 modal 1"});
    }
    SUBCASE("the host's, validated") {
        PrestoScanSettings& s = stage.settings;
        s.PixelType = SM_PIXEL_RGB;
        s.Resolution = -5;
        s.Brightness = 20, s.BrightnessMin = -100, s.BrightnessMax = 100;
        s.Contrast = -30, s.ContrastMin = -100, s.ContrastMax = 100;
        s.Highlight = 128, s.Shadow = 51;
        s.MorePages = 7;
        CHECK(callsOf(&s) == opened() +
                                 sent("2", "100", {"200", "-300+1/65536", "4", "-600+1/65536"}, "-1", "0") +
                                 Lines{"ENABLEDS show 0 modal 0"});
        CHECK(s.Resolution == -5);
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
        bool asksForY;
    };
    const Row rows[] = {
        {ICAP_PIXELTYPE, "SetPixelType returns failure", true},
        {ICAP_XRESOLUTION, "Resolution setting return failure", false},
        {ICAP_YRESOLUTION, "Resolution setting return failure", true},
        {ICAP_SHADOW, "", true},
        {CAP_FEEDERENABLED, "", true},
    };
    for (const Row& row : rows) {
        CAPTURE(row.capability);
        OneShotStage stage;
        stage.manager.answer(operation::set(row.capability), failWith(TWCC_BADVALUE));
        CHECK(stage.module.PrestoScan(stage.host.window(), "Host", &stage.settings) == 1);
        const bool shows = !row.warning.empty();
        CHECK(stage.manager.calls().back() ==
              (shows ? "ENABLEDS show 1 modal 0" : "ENABLEDS show 0 modal 0"));
        CHECK(stage.viewer.warnings().with("::PrestoScan") ==
              static_cast<int>(shows) * Lines{row.warning + " in TScanModule::PrestoScan"});
        CHECK(stage.manager.calls().with("SET ICAP_YRESOLUTION").empty() != row.asksForY);
    }
}

TEST_CASE("a scan that doesn't begin") {
    OneShotStage stage({grayPage()});
    const auto starts = [&] {
        return stage.module.PrestoScan(stage.host.window(), "H", &stage.settings) != 0;
    };
    SUBCASE("the source doesn't open") {
        stage.manager.answerNext(operation::openDs, failWith(TWCC_MAXCONNECTIONS));
        CHECK_FALSE(starts());
        CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS", "STATUS", "CLOSEDSM"});
        CHECK(stage.viewer.warnings().back() == "OpenDS returns failure in TScanModule::PrestoScan");
        CHECK_FALSE(staysInFileMode(stage));
    }
    SUBCASE("the source takes no mechanism: it stays open") {
        stage.refuseMechanisms(3);
        CHECK_FALSE(starts());
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
        CHECK_FALSE(starts());
        CHECK(stage.manager.calls().last(4) ==
              Lines{"ENABLEDS show 0 modal 0", "STATUS", "CLOSEDS", "CLOSEDSM"});
        CHECK(stage.viewer.warnings().with("able") ==
              Lines{"DSM_Entry returns failure in TScanModule::EnableDS",
                    "EnableDS returns failure in TScanModule::PrestoScan",
                    "DS is already disabled in TScanModule::DisableDS"});
        CHECK(staysInFileMode(stage));
    }
}

namespace {

// A route's own operations and words.
struct Route {
    unsigned short mechanism;
    std::string method;
    Lines prepares, transfers;
    Operation transfer;
    std::string asksName, infoFailed, unknownSize, ends, closes;
    Lines notes;
    size_t fileSize;
};

const std::string noSize = "Cannot support unknown length or height", noInfo = "MSG_GET DAT_IMAGEINFO error";
const std::string name = "SCANTOFILEGETNAME to get file name", end = "Send WM_SCANTOFILEXFEREND",
                  over = "Send WM_SCANTOFILEDSCLOSED";
const Route routes[] = {
    {SM_MECH_MEMORY,
     "PrestoScanDoMemXfer",
     {"SETUPMEMXFER", "GETCURRENT ICAP_UNITS"},
     {"IMAGEMEMXFER", "IMAGEMEMXFER"},
     operation::memoryTransfer,
     "Send WM_" + name,
     "Error in MSG_GET DAT_IMAGEINFO",
     noSize,
     end,
     over,
     {"Do while-loop to get image data"},
     1078 + 16},
    {SM_MECH_FILE,
     "PrestoScanDoFileXfer",
     {"SET SETUPFILEXFER C:\\one-shot.bmp format 2"},
     {"IMAGEFILEXFER"},
     operation::fileTransfer,
     "Send SM_" + name,
     noInfo,
     noSize,
     end + " to AP",
     over + " to AP",
     {"MSG_SET DAT_SETUPFILEXFER", "MSG_GET DAT_IMAGEFILEXFER"},
     12},
    {SM_MECH_NATIVE,
     "PrestoScanDoNativeXfer",
     {},
     {"IMAGENATIVEXFER"},
     operation::nativeTransfer,
     "Send SM_" + name,
     noInfo,
     noInfo,
     end + " to AP",
     over,
     {"MSG_GET DAT_IMAGENATIVEXFER"},
     14 + 40},
};

// Puts in place what a file or native transfer yields; memory transfer has its strips.
void provide(OneShotStage& stage) {
    const auto write = [&](TW_MEMREF) { std::ofstream(stage.path) << "the source's"; };
    stage.manager.answer(operation::fileTransfer, {TWRC_XFERDONE, TWCC_SUCCESS, {}, write});
    stage.handOver(Bytes(40));
}

using Change = std::function<void(OneShotStage&, const Route&)>;

Change answering(const Answer& answer) {
    return [=](OneShotStage& stage, const Route& route) { stage.manager.answer(route.transfer, answer); };
}
Change showing(const std::vector<Page>& pages, const DiskSpace& space = {1, 1, 1 << 20}) {
    return [=](OneShotStage& stage, const Route&) {
        stage.source.put(pages);
        stage.windows.freeDiskSpace = space;
    };
}
const Change ofNoFolder = [](OneShotStage& stage, const Route&) { stage.path = "C:\\no such folder\\a.bmp"; };

// How far a route gets: of its own operations all that come before this one fail.
enum class Reached { Description, Transfer, Refusal, All };

struct Ending {
    Change change;
    int result;
    Reached reached;
    const char* words;                          // of a warning that names the route,
    std::string Route::*routesWords = nullptr;  // or the route's own,
    const char* before = nullptr;               // after one of the look at the disk
};

const Ending endings[] = {
    {showing({grayPage()}), 0, Reached::All, nullptr},
    {answering(returnCode(TWRC_CANCEL)), -4, Reached::Transfer, "Image xfer canceled"},
    {answering(failWith(TWCC_PAPERJAM)), 20, Reached::Refusal, "Image xfer error"},
    {showing({grayPage(-1, 4)}), 1, Reached::Description, nullptr, &Route::unknownSize},
    {showing({grayPage(4, -1)}), 1, Reached::Description, nullptr, &Route::unknownSize},
    {showing({}), 1, Reached::Description, nullptr, &Route::infoFailed},
    {showing({grayPage(4, 4, 16)}), 1, Reached::Description, "Invalid pixel type"},
    {showing({grayPage(400, 400)}, {1, 1, 1000}), -2, Reached::Description, "CheckDiskSpace returns failure",
     nullptr, "Disk space is not enough"},
    {ofNoFolder, -3, Reached::Description, "CheckDiskSpace returns failure", nullptr, "Create file error"},
};

}  // namespace

TEST_CASE("each route, each way it can end") {
    for (const Route& route : routes) {
        for (const Ending& ending : endings) {
            CAPTURE(route.method);
            CAPTURE(&ending - endings);
            OneShotStage stage({grayPage()});
            stage.path = "C:\\one-shot.bmp";
            std::ofstream(stage.path) << std::string(5000, 'x');  // a longer old file
            provide(stage);
            stage.start(route.mechanism);
            bool isGone = false;  // before the source is asked for anything
            if (ending.result == 0)
                stage.manager.answer(operation::imageInfo, fill<TW_IMAGEINFO>([&](TW_IMAGEINFO& info) {
                                         info = grayPage().info;
                                         isGone = !stage.hasFile();
                                     }));
            ending.change(stage, route);
            CHECK(stage.finish() == ending.result);
            CHECK(stage.hasFile() == (ending.result == 0));
            CHECK(isGone == (ending.result == 0));
            if (ending.result == 0) CHECK(stage.fileBytes().size() == route.fileSize);

            const std::string in = " in TScanModule::" + route.method;
            // Memory transfer notes a refusal at level Trace.
            const bool isNote = ending.reached == Reached::Refusal && route.mechanism == SM_MECH_MEMORY;
            Lines warnings, noted;
            if (ending.before)
                warnings.push_back(ending.before + std::string(" in TScanModule::CheckDiskSpace"));
            if (ending.routesWords) warnings.push_back(route.*ending.routesWords + in);
            if (ending.words) (isNote ? noted : warnings).push_back(ending.words + in);
            CHECK(stage.viewer.warnings() == warnings);

            Lines calls = {"PROCESSEVENT", "IMAGEINFO"};
            if (ending.reached != Reached::Description) calls += route.prepares;
            if (ending.reached == Reached::All) calls += route.transfers;
            if (ending.reached == Reached::Transfer) calls.push_back(route.transfers.front());
            if (ending.reached == Reached::Refusal) calls += refused(route.transfers.front());
            CHECK(stage.manager.calls() == calls + closed);
            CHECK(stage.windows.memoryComplaints() == Lines{});

            // The route's lines, whatever the methods in between write.
            Lines notes = {"Coming TScanModule::" + route.method, route.asksName + in};
            for (const std::string& note : route.notes)
                if (ending.reached != Reached::Description) notes.push_back(note + in);
            notes +=
                noted + Lines{route.ends + in, route.closes + in, "Leaving TScanModule::" + route.method};
            CHECK(stage.viewer.traces().with(route.method) == notes);
        }
    }
}

TEST_CASE("a source that doesn't take the file's name") {
    OneShotStage stage({grayPage()});
    stage.manager.answer(operation::setupFile, failWith(TWCC_BADVALUE));
    CHECK(stage.scan(SM_MECH_FILE) == TWCC_BADVALUE);
    CHECK(stage.viewer.warnings() ==
          Lines{"MSG_SET DAT_SETUPFILEXFER error in TScanModule::PrestoScanDoFileXfer"});
    CHECK_FALSE(stage.hasFile());
}

TEST_CASE("a source whose strips stay empty") {
    Page page = grayPage();
    page.strips.assign(100000, Strip{});
    OneShotStage stage({page});
    CHECK(stage.scan() == 1);
    CHECK_FALSE(stage.hasFile());
}

TEST_CASE("names of files") {
    struct Row {
        std::string name;
        unsigned short mechanism;
        std::string told;  // to a source that writes the file
    };
    const std::string longName = std::string(180, 'n') + ".bmp";
    const Row rows[] = {
        {"100%%.bmp", SM_MECH_FILE, "100%.bmp"},  // a format text where the source writes, nowhere else
        {"100%%.bmp", SM_MECH_MEMORY, ""},       {"100%%.bmp", SM_MECH_NATIVE, ""},
        {longName, SM_MECH_MEMORY, ""},          {longName, SM_MECH_FILE, longName},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        CAPTURE(row.mechanism);
        OneShotStage stage({grayPage()}, row.name);
        provide(stage);
        std::string told;
        stage.manager.answer(operation::setupFile,
                             fill<TW_SETUPFILEXFER>([&](TW_SETUPFILEXFER& setup) { told = setup.FileName; }));
        CHECK(stage.scan(row.mechanism) == 0);
        CHECK(told.substr(told.rfind('\\') + 1) == row.told);
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
        const auto record = [&stage, name = name](TW_MEMREF) { stage.host.record(name); };
        stage.manager.answer(operation, {code, TWCC_SUCCESS, {}, record});
    }
    stage.start();
    stage.deliver(MSG_XFERREADY);
    CHECK(stage.host.messages() == Lines{"ScanToFileGetName", "strip", "ScanToFileXferEnd 0", "end", "reset",
                                         "disable", "close", "close manager", "ScanToFileDSClosed"});
}

TEST_CASE("only some kinds of image can be stored; for others there is a box") {
    using Kind = std::pair<TW_INT16, TW_INT16>;
    const Kind storable[] = {
        {TWPT_BW, 1}, {TWPT_GRAY, 8}, {TWPT_PALETTE, 4}, {TWPT_PALETTE, 8}, {TWPT_RGB, 24}};
    for (TW_INT16 type = -1; type <= 9; ++type) {
        for (const TW_INT16 bits : {0, 1, 2, 4, 8, 16, 24, 48}) {
            CAPTURE(type);
            CAPTURE(bits);
            const bool stored = std::count(std::begin(storable), std::end(storable), Kind(type, bits)) != 0;
            OneShotStage stage({{imageInfo(type, bits, 4, 1), cutRows(pattern(12), 12, 4, 1)}});
            CHECK(stage.scan() == !stored);
            REQUIRE(stage.windows.messageBoxes.size() == !stored);
            if (stored) continue;
            const MessageBoxCall& box = stage.windows.messageBoxes.front();
            CHECK(box.text == "Tipo de p\xEDxel no v\xE1lido");
            CHECK(box.caption == "Error");
            CHECK(box.style == 0x2000);
        }
    }
}

TEST_CASE("whether there are more pages is asked") {
    struct Row {
        int morePages, feeder;
        int pages;  // ready, with the one that is scanned
        Answer loaded;
        bool asksPaper, asksUser;
    };
    const Answer paper = give(oneValue(TWTY_BOOL, 1)), noPaper = give(oneValue(TWTY_BOOL, 0));
    const Row rows[] = {
        {0, 0, 2, paper, false, false}, {0, 1, 2, noPaper, false, false},
        {1, 0, 1, paper, false, false}, {1, 1, 1, noPaper, false, false},
        {1, 0, 2, paper, false, true},  {1, 1, 2, paper, true, false},
        {1, 1, 2, noPaper, true, true}, {1, 1, 2, failWith(TWCC_BADCAP), true, true},
    };
    for (const Row& row : rows) {
        CAPTURE(&row - rows);
        OneShotStage stage(std::vector<Page>(row.pages, grayPage()));
        stage.settings.MorePages = row.morePages;
        stage.settings.FeederEnable = row.feeder;
        stage.manager.answer(operation::getCurrent(CAP_FEEDERLOADED), row.loaded);
        stage.windows.messageBoxAnswer = IDYES;  // the session ends all the same
        CHECK(stage.scan() == 0);
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

TEST_CASE("once files, always files") {
    OneShotStage stage({grayPage()});
    stage.scan();
    SUBCASE("an ordinary session's image") {
        CHECK(staysInFileMode(stage));
    }
    SUBCASE("whatever mechanism it chooses") {
        provide(stage);
        stage.source.put({grayPage()});
        stage.open();
        CHECK(stage.module.SetXferMech(SM_MECH_NATIVE) == 0);
        stage.module.EnableDS(FALSE, FALSE);
        CHECK(stage.finish() == 0);
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
