// The module from attach to detach: its trace, the identity it presents, the manager library it loads.
#include "Story.h"

namespace {

const std::string loading = "load " + windowsDirectory() + "\\TWAIN_32.DLL";

std::string loadedCheck(const std::string& answer) {
    return "IsTWAINLoaded('IsTWAINLoaded returns " + answer + "')";
}
// With what comes between the looks at the library.
std::string availableCheck(const std::string& before, const std::string& attempt, const std::string& after) {
    return "||| IsTWAINAvailable(" + loadedCheck(before) + " " + attempt + loadedCheck(after) +
           " 'IsTWAINAvailable returns " + after + "')";
}

}  // namespace

TEST_CASE("attaching writes its banner and loads the manager, detaching unloads it and writes another") {
    Stage stage;
    CHECK(outline(stage, true) ==
          "'         <<<<< Start Scan Module Diagnostic >>>>>      ' "
          "'               ~~~~~~~~~~~~~~~~~~~~~~~~~~~~            ' '" +
              std::string(55, ' ') + "'||| TScanModule(LoadTWAIN(" + loadedCheck("FALSE") + "))");
    CHECK(stage.windows.libraryCalls == Lines{loading});
    stage.forget();
    CHECK(stage.module.IsTWAINAvailable() == 1);
    CHECK(outline(stage, true) == availableCheck("TRUE", "", "TRUE"));
    CHECK(stage.windows.libraryCalls == Lines{});
    checkStory(stage, "");
    stage.module.unload();
    CHECK(outline(stage, true) == "||| ~TScanModule(" + loadedCheck("TRUE") + " UnloadTWAIN()) '" +
                                      std::string(53, ' ') +
                                      "' '         <<<<< End Scan Module Diagnostic >>>>>      ' "
                                      "'               ~~~~~~~~~~~~~~~~~~~~~~~~~~            '");
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
    ManagerFile missing(ManagerFile::Kind::Missing);
    Stage stage;
    for (int attempt = 0; attempt < 2; ++attempt) {
        stage.forget();
        CHECK(stage.module.IsTWAINAvailable() == 0);
        const std::string search = "LoadTWAIN(" + loadedCheck("FALSE") + " 'Warning: LoadLibrary fails') ";
        CHECK(outline(stage, true) == availableCheck("FALSE", search, "FALSE"));
        CHECK(stage.windows.libraryCalls == Lines{loading});
    }
    stage.forget();
    missing.install(ManagerFile::Kind::Scripted);
    CHECK(stage.module.IsTWAINAvailable() == 1);
    checkStory(stage, "");
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
}

TEST_CASE("a manager whose file goes while it is loaded serves on; once unloaded it is missing") {
    const ManagerFile manager(ManagerFile::Kind::Scripted);
    const SavedFile moved(windowsDirectory() + "\\moved.dll");
    Stage stage;
    stage.open();
    // Windows lets nobody delete it now.
    REQUIRE(MoveFileA(manager.path().c_str(), moved.path().c_str()));
    CHECK(stage.module.CloseDS() == 0);
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.module.CloseDS() == 0);
    stage.module.unload();
    CHECK(Module().IsTWAINAvailable() == 0);
}

TEST_CASE("a library without the entry point is freed at once and never counts") {
    const ManagerFile withoutEntry(ManagerFile::Kind::WithoutEntry);
    Stage stage;
    CHECK(stage.windows.libraryCalls == Lines{loading, "free"});
    stage.forget();
    CHECK(stage.module.IsTWAINAvailable() == 0);
    CHECK(stage.windows.libraryCalls == Lines{loading, "free"});
    checkStory(stage, "! GetProcAddress fails in TScanModule::LoadTWAIN");
    stage.module.unload();
    CHECK(stage.windows.libraryCalls == Lines{});
}

TEST_CASE("messages that can't be registered are reported once for each group") {
    const std::pair<std::set<std::string>, int> rows[] = {
        {{"ScanModule_CloseDSReq"}, 1},
        {{"ScanModule_XferData"}, 1},
        {{"ScanModule_ScanToFileDSClosed"}, 1},
        {{"ScanModule_XferStart", "ScanModule_XferEnd"}, 1},
        {{"ScanModule_XferEnd", "ScanModule_ScanToFileXferEnd"}, 2},
    };
    for (const auto& [missing, reports] : rows) {
        ModuleCalls windows{ModuleCalls::Switches{{"Warning", 1}}};
        windows.messagesThatCannotRegister = missing;
        RecordingViewer viewer;
        const Module module;
        CHECK(viewer.lines().with("Fatal") ==
              reports * Lines{"Fatal: RegisterWindowMessage fails, Scan Module may not work properly"});
    }
}
