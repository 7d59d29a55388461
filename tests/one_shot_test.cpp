// The one-shot scan: one call sets the source up; when the image is ready it goes into a file, and the
// session ends. Each route times each way in which it can end.
#include <fstream>
#include <set>

#include "OneShotStage.h"
#include "Story.h"

namespace {

const std::string closed = "ENDXFER; RESET; DISABLEDS show 0 modal 1; CLOSEDS; CLOSEDSM; ScanToFileDSClosed";

Page grayPage(TW_INT32 width = 4, TW_INT32 length = 4, TW_INT16 bits = 8) {
    return {imageInfo(TWPT_GRAY, bits, width, length), imagePage(TWPT_GRAY, 8, 4, 4, 4, 2).strips, Bytes(40)};
}

// The values that were set, in their order.
std::string valuesSet(const Lines& calls) {
    std::string values;
    for (const std::string& call : calls.with("SET "))
        values += call.substr(call.rfind(' '));
    return values;
}

// Whether an ordinary session's image goes into a file, by the mechanism that the session chose.
bool staysInFileMode(OneShotStage& stage) {
    stage.source.put({grayPage()});
    if (stage.manager.state() == 2) stage.module.OpenDS(stage.host.window(), nullptr);
    CHECK(stage.module.SetXferMech(SM_MECH_NATIVE) == 0);
    stage.module.EnableDS(FALSE, FALSE);
    stage.forget();
    stage.deliver(MSG_XFERREADY);
    return stage.host.messages() == Lines{"ScanToFileGetName", "ScanToFileXferEnd 0", "ScanToFileDSClosed"} &&
           stage.manager.calls().with("IMAGENATIVEXFER").size() == 1;
}

// A route's own operations and words.
struct Route {
    unsigned short mechanism;
    std::string method, calls;
    std::string noInfo, noSize, failed;
    std::string lines;  // of a scan that works, to its end
};

const std::string noInfo = "! MSG_GET DAT_IMAGEINFO error in @; ",
                  noSize = "! Cannot support unknown length or height in @; ",
                  failed = "! Image xfer error in @; STATUS; ";
const std::string disk = " to get file name' CheckDiskSpace(ImageDataSize(ImageBytesPerRow())) ",
                  strip = "AppendBufferToFile(BufferToFile(ImageBytesPerRow() PaletteSize())) ";
// A name as the host gives it, and as the source writes it: there alone it is a format text.
const std::string name = "C:\\" + std::string(180, 'n'), path = name + "%%.bmp", written = name + "%.bmp";
const Route routes[] = {
    // A refusal is noted at level Trace.
    {SM_MECH_MEMORY, "PrestoScanDoMemXfer",
     "SETUPMEMXFER; GETCURRENT ICAP_UNITS; IMAGEMEMXFER; IMAGEMEMXFER; ",
     "! Error in MSG_GET DAT_IMAGEINFO in @; ", noSize, "STATUS; ",
     "'Send WM_SCANTOFILEGETNAME" + disk +
         "GetMemXferSize('Mem Xfer Size min = 64 max = 4096preferred = 1024') WriteDIBHeader(PaletteSize() "
         "ImageDataSize(ImageBytesPerRow()) PaletteSize() GetUnit(CapNegotiate() ExtractOneValue())) 'Do "
         "while-loop to get image data' " +
         strip + strip + "'Send WM_SCANTOFILEXFEREND' EndThisXfer() 'Send WM_SCANTOFILEDSCLOSED'"},
    {SM_MECH_FILE, "PrestoScanDoFileXfer", "SET SETUPFILEXFER " + written + " format 2; IMAGEFILEXFER; ",
     noInfo, noSize, failed,
     "'Send SM_SCANTOFILEGETNAME" + disk +
         "'MSG_SET DAT_SETUPFILEXFER' 'MSG_GET DAT_IMAGEFILEXFER' 'Send WM_SCANTOFILEXFEREND to AP' "
         "EndThisXfer() 'Send WM_SCANTOFILEDSCLOSED to AP'"},
    {SM_MECH_NATIVE, "PrestoScanDoNativeXfer", "IMAGENATIVEXFER; ", noInfo, noInfo, failed,
     "'Send SM_SCANTOFILEGETNAME" + disk +
         "'MSG_GET DAT_IMAGENATIVEXFER' WriteDIBHandleToFile() 'Send WM_SCANTOFILEXFEREND to AP' "
         "EndThisXfer() 'Send WM_SCANTOFILEDSCLOSED'"},
};

const std::string invalidType = "box Tipo de p\xEDxel no v\xE1lido | Error | 8192";

}  // namespace

TEST_CASE("the settings reach the source, in their order") {
    OneShotStage stage;
    const auto start = [&](const PrestoScanSettings* settings) {
        CHECK(stage.module.PrestoScan(stage.host.window(), "Some Host", settings) == 1);
        return valuesSet(stage.manager.calls()) + "; " + stage.manager.calls().back();
    };
    // Memory transfer, by opening the source; type, resolutions, four tones, count, feeder; memory transfer.
    // The source names no tone range: -1000 to 1000 then, negative ones with the conversion's fraction.
    SUBCASE("defaults") {
        CHECK(start(nullptr) == " 2 1 300 300 0 0 1000 -1000+1/65536 1 1 2; ENABLEDS show 1 modal 1");
    }
    SUBCASE("the host's, validated") {
        PrestoScanSettings& s = stage.settings;
        s.PixelType = SM_PIXEL_RGB;
        s.Resolution = -5;
        s.Brightness = 20, s.BrightnessMin = -100, s.BrightnessMax = 100;
        s.Contrast = -30, s.ContrastMin = -100, s.ContrastMax = 100;
        s.Highlight = 128, s.HighlightMax = 255;
        s.Shadow = 51, s.ShadowMax = 255;
        s.MorePages = 7;
        CHECK(start(&s) == " 2 2 100 100 200 -300+1/65536 4 -600+1/65536 -1 0 2; ENABLEDS show 0 modal 0");
    }
    CHECK(std::string(stage.manager.application().ProductName) == "Some Host");
    CHECK(stage.manager.userInterface().hParent == stage.host.window());
    CHECK(stage.viewer.traces().with("::PrestoScan") ==
          Lines{"Coming TScanModule::PrestoScan", "Processing some settings in TScanModule::PrestoScan",
                "Set Xfer Mech in TScanModule::PrestoScan", "Leaving TScanModule::PrestoScan"});
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("a setting that the source refuses makes it show its window") {
    const std::pair<TW_UINT16, std::string> rows[] = {
        {ICAP_PIXELTYPE, "SetPixelType returns failure"},
        {ICAP_XRESOLUTION, "Resolution setting return failure"},
        {ICAP_YRESOLUTION, "Resolution setting return failure"},
        {ICAP_SHADOW, ""},
        {CAP_FEEDERENABLED, ""},
    };
    for (const auto& [capability, warning] : rows) {
        CAPTURE(capability);
        OneShotStage stage;
        stage.manager.answer(operation::set(capability), failWith(TWCC_BADVALUE));
        CHECK(stage.begin() == 1);
        CHECK(stage.manager.userInterface().ShowUI == !warning.empty());
        CHECK(stage.viewer.warnings().with("::PrestoScan") ==
              !warning.empty() * Lines{warning + " in TScanModule::PrestoScan"});
        CHECK(stage.manager.calls().with("SET ICAP_YRES").empty() == (capability == ICAP_XRESOLUTION));
    }
}

TEST_CASE("a scan that doesn't begin, and what an ordinary session's image then becomes") {
    const std::string refused = "! DSM_Entry returns failure in TScanModule::";
    // What fails, whether files it is from now on, and the end of the story.
    const std::tuple<Operation, bool, std::string> rows[] = {
        {operation::openDs, false,
         "OPENDS; " + refused + "OpenDS; STATUS; CLOSEDSM; ! OpenDS returns failure in @"},
        {operation::enableDs, true,
         "ENABLEDS show 0 modal 0; " + refused +
             "EnableDS; STATUS; ! EnableDS returns failure in @; "
             "! DS is already disabled in TScanModule::DisableDS; CLOSEDS; CLOSEDSM"},
    };
    for (const auto& [failing, isFileMode, end] : rows) {
        OneShotStage stage;
        stage.manager.answerNext(failing, failWith(TWCC_OPERATIONERROR));
        CHECK(stage.begin() == 0);
        const Lines expected = storyOf(end, "PrestoScan");
        CHECK(journal.last(expected.size()) == expected);
        CHECK(staysInFileMode(stage) == isFileMode);
    }
    // A source that takes no mechanism stays open.
    OneShotStage stage;
    stage.refuseMechanisms(3);
    CHECK(stage.begin() == 0);
    CHECK(valuesSet(stage.manager.calls().last(18)) == " 2 2 2 1 1 1 0 0 0");
    CHECK_FALSE(staysInFileMode(stage));
}

TEST_CASE("each route, each way it can end, with a long name that has a percent sign") {
    Page cancelled = grayPage(), jammed = grayPage();
    cancelled.strips.back() = endedBy(TWRC_CANCEL);
    jammed.strips.back() = failedWith(TWCC_PAPERJAM);
    for (const Route& route : routes) {
        const std::tuple<std::vector<Page>, int, std::string> endings[] = {
            {{grayPage()}, 0, route.calls},
            {{cancelled}, -4, route.calls + "! Image xfer canceled in @; "},
            {{jammed}, 20, route.calls + route.failed},
            {{grayPage(-1, 4)}, 1, route.noSize},
            {{grayPage(4, -1)}, 1, route.noSize},
            {{}, 1, route.noInfo},
            {{grayPage(4, 4, 16)}, 1, "! Invalid pixel type in @; " + invalidType + "; "},
        };
        for (const auto& [pages, result, story] : endings) {
            OneShotStage stage(pages);
            stage.path = path;
            std::ofstream(path) << std::string(5000, 'x');  // a longer old file
            bool isToldAfterDeletion = false;
            stage.host.onMessage = [&](const std::string& line) {
                if (line.rfind("ScanToFileXferEnd", 0) == 0) isToldAfterDeletion = !fileExists(path);
            };
            CHECK(stage.scan(route.mechanism) == result);
            CHECK(fileExists(path) == (result == 0));  // empty when the source wrote another
            CHECK(isToldAfterDeletion == (result != 0));
            if (route.mechanism == SM_MECH_FILE) stage.path = written;
            CHECK(fileExists(stage.path) == (result == 0));
            CHECK(stage.fileBytes().size() < 5000);
            if (result == 0)
                CHECK(outline(stage) == "IsDSEvent capturing MSG_XFERREADY(ProcessPrestoScanImage(" +
                                            route.method + "(" + route.lines +
                                            " EndAllXfer() DisableDS() CloseDS(CloseDSM()))))");
            const std::string told = "ScanToFileXferEnd " + std::to_string(result) + "; " + closed;
            checkStory(stage, "PROCESSEVENT; ScanToFileGetName; IMAGEINFO; " + story + told, route.method);
        }
    }
}

TEST_CASE("a source that doesn't take the file's name, and one whose strips stay empty") {
    OneShotStage stage({grayPage()});
    // An old file makes room before the source is asked for anything.
    std::ofstream(stage.path) << "old";
    stage.manager.answerNext(operation::imageInfo, fill<TW_IMAGEINFO>([&](TW_IMAGEINFO& info) {
                                 info = grayPage().info;
                                 CHECK_FALSE(fileExists(stage.path));
                             }));
    stage.manager.answer(operation::setupFile, failWith(TWCC_BADVALUE));
    CHECK(stage.scan(SM_MECH_FILE) == TWCC_BADVALUE);
    CHECK(stage.viewer.warnings() ==
          Lines{"MSG_SET DAT_SETUPFILEXFER error in TScanModule::PrestoScanDoFileXfer"});
    CHECK_FALSE(fileExists(stage.path));
    // Some empty strips are a pause, too many an end.
    Page page = grayPage();
    page.strips.insert(page.strips.begin(), 10, {});
    stage.source.put({page});
    CHECK(stage.scan() == 0);
    page.strips.assign(100000, {});
    stage.source.put({page});
    stage.start();
    stage.windows.switchesOff = true;
    CHECK(stage.finish() == 1);
    CHECK_FALSE(fileExists(stage.path));
}

TEST_CASE("only some kinds of image can be stored; for others there is a box") {
    const std::set<std::pair<int, int>> storable = {
        {TWPT_BW, 1}, {TWPT_GRAY, 8}, {TWPT_PALETTE, 4}, {TWPT_PALETTE, 8}, {TWPT_RGB, 24}};
    OneShotStage stage;
    for (TW_INT16 type = -1; type <= 9; ++type) {
        for (const TW_INT16 bits : {0, 1, 2, 4, 8, 16, 24, 48}) {
            CAPTURE(type);
            CAPTURE(bits);
            const bool stored = storable.count({type, bits}) != 0;
            stage.source.put({imagePage(type, bits, 4, 1, 12, 1)});
            CHECK(stage.scan() == !stored);
            CHECK(journal.with("box") == !stored * Lines{invalidType});
        }
    }
}

TEST_CASE("whether there are more pages is asked") {
    const Answer paper = give(oneValue(TWTY_BOOL, 1)), noPaper = give(oneValue(TWTY_BOOL, 0));
    // More pages are wanted, the feeder is on, so many pages are ready and paper is or isn't; what is asked.
    const std::tuple<int, int, int, Answer, bool, bool> rows[] = {
        {0, 0, 2, paper, false, false}, {0, 1, 2, noPaper, false, false},
        {1, 0, 1, paper, false, false}, {1, 1, 1, noPaper, false, false},
        {1, 0, 2, paper, false, true},  {1, 1, 2, paper, true, false},
        {1, 1, 2, noPaper, true, true}, {1, 1, 2, failWith(TWCC_BADCAP), true, true},
    };
    for (const auto& [morePages, feeder, pages, loaded, asksPaper, asksUser] : rows) {
        CAPTURE(morePages);
        CAPTURE(feeder);
        OneShotStage stage(std::vector<Page>(pages, grayPage()));
        stage.settings.MorePages = morePages;
        stage.settings.FeederEnable = feeder;
        stage.manager.answer(operation::getCurrent(CAP_FEEDERLOADED), loaded);
        stage.windows.messageBoxAnswer = IDYES;  // the session ends all the same
        CHECK(stage.scan() == 0);
        CHECK(stage.manager.calls().with("GETCURRENT CAP_FEEDERLOADED").size() == asksPaper);
        CHECK(journal.last(5) == storyOf(closed).last(5));
        const std::string box = "box \277Explorar m\xE1s p\xE1ginas? | Test Host | 8196";
        CHECK(journal.with("box") == asksUser * Lines{box});
    }
}

TEST_CASE("once files, always files, whatever an ordinary session chooses") {
    OneShotStage stage({grayPage()});
    stage.scan();
    CHECK(staysInFileMode(stage));
}
