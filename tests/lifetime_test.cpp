// The module from attach to detach: its trace, the identity it presents, the manager library it loads.
#include <doctest.h>

#include "Stage.h"

namespace {

const Lines separator = {"    ", "    ", "    "};

Lines traced(const Lines& texts) {
    Lines lines;
    for (const std::string& text : texts)
        lines.push_back("Trace: " + text);
    return lines;
}

Lines loadedCheck(const std::string& answer) {
    return traced({"Coming TScanModule::IsTWAINLoaded", "TScanModule::IsTWAINLoaded returns " + answer,
                   "Leaving TScanModule::IsTWAINLoaded"});
}

Lines availableAnswer(const std::string& answer) {
    return loadedCheck(answer) + traced({"TScanModule::IsTWAINAvailable returns " + answer,
                                         "Leaving TScanModule::IsTWAINAvailable"});
}

const Lines startBanner =
    traced({"         <<<<< Start Scan Module Diagnostic >>>>>      ",
            "               ~~~~~~~~~~~~~~~~~~~~~~~~~~~~            ", std::string(55, ' ')});
const Lines endBanner = traced({std::string(53, ' '), "         <<<<< End Scan Module Diagnostic >>>>>      ",
                                "               ~~~~~~~~~~~~~~~~~~~~~~~~~~            "});

std::string loading() {
    return "load " + windowsDirectory() + "\\TWAIN_32.DLL";
}

}  // namespace

TEST_CASE("attaching writes its banner and loads the manager, detaching unloads it and writes another") {
    Stage stage;
    CHECK(stage.viewer.lines() ==
          startBanner + separator +
              traced({"Coming TScanModule::TScanModule", "Coming TScanModule::LoadTWAIN"}) +
              loadedCheck("FALSE") +
              traced({"Leaving TScanModule::LoadTWAIN", "Leaving TScanModule::TScanModule"}));
    CHECK(stage.windows.libraryCalls == Lines{loading()});
    CHECK(stage.takeRecord() == Lines{});

    CHECK(stage.module.IsTWAINAvailable() == 1);
    CHECK(stage.viewer.lines() == separator + traced({"Coming TScanModule::IsTWAINAvailable"}) +
                                      loadedCheck("TRUE") + availableAnswer("TRUE"));
    CHECK(stage.windows.libraryCalls == Lines{});
    stage.forget();

    stage.module.unload();
    CHECK(stage.viewer.lines() ==
          separator + traced({"Coming TScanModule::~TScanModule"}) + loadedCheck("TRUE") +
              traced({"Coming TScanModule::UnloadTWAIN", "Leaving TScanModule::UnloadTWAIN",
                      "Leaving TScanModule::~TScanModule"}) +
              endBanner);
    CHECK(stage.windows.libraryCalls == Lines{"free"});
    CHECK(GetModuleHandleA("twain_32.dll") == nullptr);
}

TEST_CASE("detaching with the manager or a source open leaves the manager's library loaded") {
    for (int state : {3, 4, 5}) {
        Stage stage;
        stage.bringTo(state == 3 ? 4 : state);
        stage.manager.answer(operation::closeDsm, failWith(TWCC_BUMMER));
        if (state == 3) stage.module.CloseDS();
        CHECK(stage.manager.state() == state);
        stage.forget();
        stage.module.unload();
        CHECK(stage.windows.libraryCalls == Lines{});
        CHECK(stage.manager.calls() == Lines{});
        CHECK(GetModuleHandleA("twain_32.dll") != nullptr);
    }
}

TEST_CASE("a missing manager is looked for at every call, and found once it is there") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    Stage stage;
    const Lines noLibrary = {"Warning: LoadLibrary fails in TScanModule::LoadTWAIN"};
    for (int attempt = 0; attempt < 2; ++attempt) {
        stage.forget();
        CHECK(stage.module.IsTWAINAvailable() == 0);
        CHECK(stage.viewer.lines() ==
              separator + traced({"Coming TScanModule::IsTWAINAvailable"}) + loadedCheck("FALSE") +
                  traced({"Coming TScanModule::LoadTWAIN"}) + loadedCheck("FALSE") + noLibrary +
                  traced({"Leaving TScanModule::LoadTWAIN"}) + availableAnswer("FALSE"));
        CHECK(stage.windows.libraryCalls == Lines{loading()});
    }
    stage.forget();
    ManagerFile::install(ManagerFile::Kind::Scripted);
    CHECK(stage.module.IsTWAINAvailable() == 1);
    CHECK(stage.takeRecord() == Lines{});
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
}

TEST_CASE("a library without the entry point is freed at once and never counts") {
    const ManagerFile withoutEntry(ManagerFile::Kind::WithoutEntry);
    Stage stage;
    CHECK(stage.windows.libraryCalls == Lines{loading(), "free"});
    stage.forget();
    CHECK(stage.module.IsTWAINAvailable() == 0);
    CHECK(stage.windows.libraryCalls == Lines{loading(), "free"});
    CHECK(stage.takeRecord() == Lines{"! GetProcAddress fails in TScanModule::LoadTWAIN"});
    stage.module.unload();
    CHECK(stage.windows.libraryCalls == Lines{});
}

TEST_CASE("messages that can't be registered are reported once for each group") {
    struct Row {
        std::set<std::string> missing;
        int reports;
    };
    const Row rows[] = {
        {{}, 0},
        {{"ScanModule_CloseDSReq"}, 1},
        {{"ScanModule_XferData"}, 1},
        {{"ScanModule_ScanToFileGetName"}, 1},
        {{"ScanModule_ScanToFileDSClosed"}, 1},
        {{"ScanModule_XferStart", "ScanModule_XferEnd"}, 1},
        {{"ScanModule_XferEnd", "ScanModule_ScanToFileXferEnd"}, 2},
    };
    for (const Row& row : rows) {
        const TraceSwitches switches;
        ModuleCalls windows;
        windows.messagesThatCannotRegister = row.missing;
        RecordingViewer viewer;
        const Module module;
        CHECK(viewer.warnings() ==
              row.reports * Lines{"Fatal: RegisterWindowMessage fails, Scan Module may not work properly"});
    }
}
