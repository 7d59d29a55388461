// The module from attach to detach: its trace, the identity it presents, the manager library it loads.
#include <doctest.h>

#include <algorithm>
#include <memory>

#include "Stage.h"

namespace {

const Lines separator = {"    ", "    ", "    "};

Lines traced(const Lines& texts) {
    Lines lines;
    for (const std::string& text : texts)
        lines.push_back("Trace: " + text);
    return lines;
}

Lines loadedCheck(const char* answer) {
    return traced({"Coming TScanModule::IsTWAINLoaded",
                   std::string("TScanModule::IsTWAINLoaded returns ") + answer,
                   "Leaving TScanModule::IsTWAINLoaded"});
}

const Lines startBanner =
    traced({"         <<<<< Start Scan Module Diagnostic >>>>>      ",
            "               ~~~~~~~~~~~~~~~~~~~~~~~~~~~~            ", std::string(55, ' ')});
const Lines endBanner = traced({std::string(53, ' '), "         <<<<< End Scan Module Diagnostic >>>>>      ",
                                "               ~~~~~~~~~~~~~~~~~~~~~~~~~~            "});

std::string managerPath() {
    return windowsDirectory() + "\\TWAIN_32.DLL";
}

}  // namespace

TEST_CASE("attaching writes its banner, loads the manager and asks it nothing") {
    Stage stage;
    CHECK(stage.viewer.lines() ==
          startBanner + separator +
              traced({"Coming TScanModule::TScanModule", "Coming TScanModule::LoadTWAIN"}) +
              loadedCheck("FALSE") +
              traced({"Leaving TScanModule::LoadTWAIN", "Leaving TScanModule::TScanModule"}));
    CHECK(stage.windows.libraryCalls == Lines{"load " + managerPath()});
    CHECK(stage.manager.calls() == Lines{});
}

TEST_CASE("detaching unloads the manager and writes its banner") {
    Stage stage;
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

TEST_CASE("detaching with a source open leaves the manager's library loaded") {
    for (int state : {4, 5}) {
        CAPTURE(state);
        Stage stage;
        stage.bringTo(state);
        stage.module.unload();
        CHECK(stage.windows.libraryCalls == Lines{});
        CHECK(stage.manager.calls() == Lines{});
        CHECK(GetModuleHandleA("twain_32.dll") != nullptr);
    }
}

TEST_CASE("the identity that the module presents") {
    Stage stage;
    stage.module.OpenDS(stage.host.window(), nullptr);
    const TW_IDENTITY& application = stage.manager.application();
    CHECK(application.Id == 0);
    CHECK(application.Version.MajorNum == 1);
    CHECK(application.Version.MinorNum == 1);
    CHECK(application.Version.Language == TWLG_USA);
    CHECK(application.Version.Country == TWCY_USA);
    CHECK(std::string(application.Version.Info) == "Versi\xf3n 1.00");
    CHECK(application.ProtocolMajor == 1);
    CHECK(application.ProtocolMinor == 5);
    CHECK(application.SupportedGroups == (DG_CONTROL | DG_IMAGE));
    CHECK(std::string(application.Manufacturer) == "KAVRO");
    CHECK(std::string(application.ProductFamily) == "VORN Scan Module");
    CHECK(std::string(application.ProductName) == "VORN Scan Module");
}

TEST_CASE("asking for the manager writes what it finds") {
    Stage stage;
    stage.forget();
    CHECK(stage.module.IsTWAINAvailable() == 1);
    CHECK(
        stage.viewer.lines() ==
        separator + traced({"Coming TScanModule::IsTWAINAvailable"}) + 2 * loadedCheck("TRUE") +
            traced({"TScanModule::IsTWAINAvailable returns TRUE", "Leaving TScanModule::IsTWAINAvailable"}));
    CHECK(stage.windows.libraryCalls == Lines{});
}

TEST_CASE("a missing manager is looked for at every call, and found once it is there") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    Stage stage;
    const Lines noLibrary = {"Warning: LoadLibrary fails in TScanModule::LoadTWAIN"};
    CHECK(stage.viewer.warnings() == Lines{"LoadLibrary fails in TScanModule::LoadTWAIN"});
    stage.forget();
    for (int attempt = 0; attempt < 2; ++attempt) {
        CHECK(stage.module.IsTWAINAvailable() == 0);
        CHECK(stage.viewer.lines() == separator + traced({"Coming TScanModule::IsTWAINAvailable"}) +
                                          loadedCheck("FALSE") + traced({"Coming TScanModule::LoadTWAIN"}) +
                                          loadedCheck("FALSE") + noLibrary +
                                          traced({"Leaving TScanModule::LoadTWAIN"}) + loadedCheck("FALSE") +
                                          traced({"TScanModule::IsTWAINAvailable returns FALSE",
                                                  "Leaving TScanModule::IsTWAINAvailable"}));
        CHECK(stage.windows.libraryCalls == Lines{"load " + managerPath()});
        stage.forget();
    }
    ManagerFile::install(ManagerFile::Kind::Scripted);
    CHECK(stage.module.IsTWAINAvailable() == 1);
    CHECK(stage.viewer.warnings() == Lines{});
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.module.CloseDS() == 0);
}

TEST_CASE("a library without the entry point is freed at once and never counts") {
    const ManagerFile withoutEntry(ManagerFile::Kind::WithoutEntry);
    Stage stage;
    CHECK(stage.windows.libraryCalls == Lines{"load " + managerPath(), "free"});
    CHECK(stage.viewer.warnings() == Lines{"GetProcAddress fails in TScanModule::LoadTWAIN"});
    stage.forget();
    CHECK(stage.module.IsTWAINAvailable() == 0);
    CHECK(stage.windows.libraryCalls == Lines{"load " + managerPath(), "free"});
    CHECK(stage.viewer.warnings() == Lines{"GetProcAddress fails in TScanModule::LoadTWAIN"});
    CHECK(GetModuleHandleA("twain_32.dll") == nullptr);
    stage.forget();
    stage.module.unload();
    CHECK(stage.windows.libraryCalls == Lines{});
}

TEST_CASE("messages that can't be registered are reported once for each group") {
    const Lines report = {"Fatal: RegisterWindowMessage fails, Scan Module may not work properly"};
    const auto loadWithout = [](const std::set<std::string>& names) {
        const TraceSwitches switches;
        ModuleCalls windows;
        windows.messagesThatCannotRegister = names;
        RecordingViewer viewer;
        const Module module;
        CHECK(module.IsTWAINAvailable() == 1);
        return viewer.warnings();
    };
    CHECK(loadWithout({}) == Lines{});
    for (const char* name : {"CloseDSReq", "XferStart", "XferData", "XferEnd", "ScanToFileGetName",
                             "ScanToFileXferEnd", "ScanToFileDSClosed"}) {
        CAPTURE(name);
        CHECK(loadWithout({std::string("ScanModule_") + name}) == report);
    }
    CHECK(loadWithout({"ScanModule_XferStart", "ScanModule_XferEnd"}) == report);
    CHECK(loadWithout({"ScanModule_XferEnd", "ScanModule_ScanToFileXferEnd"}) == report + report);
}
