// The default driver: found in the manager's list or, for one edition of the host suite, in the driver
// folders.
#include <doctest.h>

#include <algorithm>

#include "DriverSearch.h"
#include "SourceChoice.h"

TEST_CASE("the default driver from the manager's list, which leaves the system's default alone") {
    const Lines walked = {"OPENDSM", "GETDEFAULT", "GETFIRST", "GETNEXT", "CLOSEDSM"};
    const Lines walkedToEnd = {"OPENDSM", "GETDEFAULT", "GETFIRST", "GETNEXT", "GETNEXT", "CLOSEDSM"};
    const std::string failure = "! DSM_Entry returns failure in @";
    struct Row {
        const char* name;
        Session session;
        std::optional<std::string> regional;
        const char* wanted;
        std::optional<Answer> preset;
        Lines record;
        Lines opening;
    };
    const Answer refusal = failWith(TWCC_NODS);
    const Row rows[] = {
        {"the default already", Session::Closed, "J", "PLAIN source", std::nullopt,
         Lines{"OPENDSM", "GETDEFAULT", "CLOSEDSM", "result 0", "chosen Plain Source"}, opensChosen},
        {"in the list", Session::Closed, std::nullopt, "Second", std::nullopt,
         walked + Lines{"result 0", "chosen Second"}, opensChosen},
        {"another edition of the suite", Session::Closed, "E", "Second", std::nullopt,
         walked + Lines{"result 0", "chosen Second"}, opensChosen},
        {"a small letter is another edition", Session::Closed, "j", "Second", std::nullopt,
         walked + Lines{"result 0", "chosen Second"}, opensChosen},
        {"nowhere", Session::Closed, "E", "Nobody", std::nullopt, walkedToEnd + Lines{"result 12", "chosen "},
         opensDefault},
        {"without a default", Session::Closed, "E", "Second", refusal,
         Lines{"OPENDSM", "GETDEFAULT", "STATUS", "GETFIRST", "GETNEXT", "CLOSEDSM", failure, "result 0",
               "chosen Second"},
         opensChosen},
        {"a source is open", Session::Open, "E", "Second", std::nullopt,
         Lines{openRefused, "! OpenDSM returns failure in @", "result 11", "chosen Plain Source"}, nothing},
        {"no manager",
         Session::NoManager,
         "E",
         "Second",
         {},
         withoutManager + Lines{"chosen untouched"},
         nothing},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        const HostSuiteSettings settings(row.regional);
        const DefaultSourceEntry entry("before");
        SessionStage stage(row.session);
        if (row.preset) stage->manager.answerNext(operation::getDefault, *row.preset);
        list(stage->manager, {source("First"), source("Second")});
        const auto call = [&] {
            return Lines{resultLine(stage->module.SetDefaultDriver(stage->host.window(), row.wanted))};
        };
        CHECK(withChoice(*stage, CallRecord::of(*stage, call)) ==
              CallRecord("SetDefaultDriver").expected(row.record));
        CHECK(DefaultSourceEntry::current() == "before");
        if (row.session == Session::Closed) CHECK(openingCalls(*stage) == row.opening);
    }
}

TEST_CASE("a null parent, a manager that doesn't open, and a user without a data folder") {
    HostSuiteSettings settings("J");
    settings.removeFolderEntry();
    Stage stage;
    stage.manager.answerNext(operation::openDsm, failWith(TWCC_LOWMEMORY));
    const auto call = [&] { return Lines{resultLine(stage.module.SetDefaultDriver(nullptr, "X"))}; };
    CHECK(CallRecord::of(stage, call) ==
          CallRecord("SetDefaultDriver")
              .expected({"OPENDSM", "STATUS", "! Invalid parent window handle in @", openFailure,
                         "! OpenDSM returns failure in @", "result 2"}));
    CHECK(stage.manager.parent() == GetDesktopWindow());
    CHECK(CallRecord::of(stage, call) ==
          CallRecord("SetDefaultDriver")
              .expected({"OPENDSM", "GETDEFAULT", "GETFIRST", "GETNEXT", "CLOSEDSM",
                         "! Invalid parent window handle in @", "result 12"}));
}

TEST_CASE("the Japanese edition searches the driver folders") {
    const std::vector<std::string> drivers = {"twain_32\\a.ds", "twain_32\\b.ds", "twain_32\\sub\\c.ds",
                                              "twain\\d.ds", "twain\\sub\\e.ds"};
    // Neither files of another kind nor folders two levels down.
    const std::vector<std::string> others = {"twain_32\\readme.txt", "twain_32\\sub\\deep\\f.ds"};
    std::vector<std::string> files = drivers;
    files.insert(files.end(), others.begin(), others.end());

    struct Row {
        const char* wanted;
        const char* failing;  // the driver whose entry the manager can't use
        std::optional<std::string> before;
        size_t visited;
        int folders;
        int result;
    };
    const Row rows[] = {
        {"A.DS", nullptr, "old.ds", 1, 1, 0},  {"b.ds", nullptr, "old.ds", 2, 1, 0},
        {"b.ds", "a.ds", "old.ds", 2, 1, 0},   {"c.ds", nullptr, "old.ds", 3, 2, 0},
        {"d.ds", "c.ds", {}, 4, 3, 0},         {"e.ds", nullptr, {}, 5, 4, 0},
        {"f.ds", nullptr, "old.ds", 5, 4, 12}, {"nobody", "a.ds", {}, 5, 4, 12},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.wanted));
        const HostSuiteSettings settings("J");
        const DriverFolders folders(files);
        const DefaultSourceEntry entry(row.before);
        Stage stage;
        // A manager whose default source is the one of the entry, named like its file.
        Lines visited;
        for (size_t i = 0; i <= drivers.size(); ++i) {
            const bool fails =
                i > 0 && row.failing != nullptr && drivers[i - 1].find(row.failing) != std::string::npos;
            Answer answer = fails ? failWith(TWCC_OPERATIONERROR) : succeed();
            answer.act = [&visited](TW_MEMREF data) {
                const std::string path = DefaultSourceEntry::current().value_or("none");
                *static_cast<TW_IDENTITY*>(data) = source(path.substr(path.rfind('\\') + 1));
                visited.push_back(path);
            };
            stage.manager.answerNext(operation::getDefault, answer);
        }
        stage.forget();
        CHECK(stage.module.SetDefaultDriver(stage.host.window(), row.wanted) == row.result);

        Lines expected = {row.before.value_or("none")};
        for (size_t i = 0; i < row.visited; ++i)
            expected.push_back(DriverFolders::path(drivers[i]));
        CHECK(visited == expected);
        const bool found = row.result == 0;
        CHECK(DefaultSourceEntry::current() == (found ? visited.back() : row.before));
        const std::string file = visited.back().substr(visited.back().rfind('\\') + 1);
        CHECK(chosenName(stage.module) == "chosen " + (found ? file : ""));
        CHECK(stage.viewer.warnings() ==
              (row.failing != nullptr ? Lines{"DSM_Entry returns failure in TScanModule::SetDefaultDS"}
                                      : Lines{}));
        const Lines traces = stage.viewer.traces();
        CHECK(std::count(traces.begin(), traces.end(), "Coming TScanModule::SetDefaultDS") == row.folders);
        CHECK(stage.manager.state() == 2);
    }
}

TEST_CASE("with empty driver folders the search ends without a result") {
    const HostSuiteSettings settings("J");
    const DriverFolders folders({});
    const DefaultSourceEntry entry("old.ds");
    Stage stage;
    CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == 12);
    CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "CLOSEDSM"});
    CHECK(DefaultSourceEntry::current() == "old.ds");
}

TEST_CASE("a manager that never ends its list has no such driver") {
    const HostSuiteSettings settings("E");
    for (const Answer& answer : {copy(source("Other")), failWith(TWCC_BUMMER)}) {
        Stage stage;
        const EndlessList list(stage.manager, answer);
        CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == 12);
        CHECK(list.wasLeft());
        CHECK(stage.manager.state() == 2);
    }
}
