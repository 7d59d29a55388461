// Which source later sessions use: the manager's dialog, the list of the maker's sources, and the default
// driver, found in the manager's list or, for one edition of the host suite, in the driver folders.
#include <algorithm>

#include "CallRecord.h"
#include "DriverSearch.h"

namespace {

using Sources = std::vector<TW_IDENTITY>;

TW_IDENTITY source(const std::string& name, const std::string& maker = "KAVRO") {
    TW_IDENTITY identity = {};
    identity.Id = 7;
    name.copy(identity.ProductName, sizeof identity.ProductName);
    maker.copy(identity.Manufacturer, sizeof identity.Manufacturer);
    return identity;
}

void list(ScriptedManager& manager, const Sources& sources) {
    for (size_t i = 0; i < sources.size(); ++i)
        manager.answerNext(i == 0 ? operation::getFirst : operation::getNext, copy(sources[i]));
}

std::string chosenName(Module& module) {
    char name[34] = "untouched";
    module.GetDSProductName(name);
    return name;
}

// How the next session opens its source tells whether one was chosen.
void checkChoice(Stage& stage, const std::string& chosen) {
    CHECK(chosenName(stage.module) == chosen);
    if (stage.manager.state() != 2 || chosen == "untouched") return;
    stage.manager.forgetCalls();
    stage.module.OpenDS(stage.host.window(), nullptr);
    CHECK(stage.manager.parent() == stage.host.window());
    CHECK((stage.manager.calls()[1] == "GETDEFAULT") == chosen.empty());
}

const std::string notOpened = "OPENDSM; STATUS; ! DSM_Entry returns failure in TScanModule::OpenDSM; ";
const std::string isOpen = "! Sequence error in TScanModule::OpenDSM; ";
const Answer refusal = failWith(TWCC_NODS);

}  // namespace

TEST_CASE("the manager's dialog, and what the next session opens") {
    struct Row {
        int state;
        Operation operation;
        Answer answer;
        std::string record;
        const char* chosen;
    };
    Answer cancelled = copy(source("Looked at"));
    cancelled.returnCode = TWRC_CANCEL;
    const std::string asked = "OPENDSM; USERSELECT; ", failed = "! OpenDSM returns failure in @; ";
    const Operation select = operation::userSelect;
    const Row rows[] = {
        {2, select, copy(source("Other")), asked + "CLOSEDSM; result 0", "Other"},
        {2, select, cancelled, asked + "CLOSEDSM; result -6", ""},
        {2, select, refusal, asked + "STATUS; CLOSEDSM; !failure; result 3", ""},
        // The earlier choice stays.
        {2, operation::openDsm, refusal, notOpened + failed + "result 3", "First"},
        {4, select, refusal, isOpen + failed + "result 11", "First"},
        {1, select, refusal, "!manager", "untouched"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.record);
        StageIn stage(row.state == 1 ? 1 : 2);
        stage->manager.answerNext(select, copy(source("First")));
        stage->module.SelectDS(stage->host.window());
        if (row.state == 4) stage->open();
        stage->manager.answerNext(row.operation, row.answer);
        const Lines record =
            recordOf(*stage, [&] { return resultText(stage->module.SelectDS(stage->host.window())); });
        CHECK(record == expectedRecord(row.record, "SelectDS"));
        checkChoice(*stage, row.chosen);
    }
}

TEST_CASE("the dialog starts without a choice, and a null parent is the desktop") {
    Stage stage;
    std::string given = "none";
    stage.manager.answerNext(operation::userSelect, copy(source("First")));
    stage.manager.answer(operation::userSelect,
                         fill<TW_IDENTITY>([&](TW_IDENTITY& identity) { given = identity.ProductName; }));
    REQUIRE(stage.module.SelectDS(stage.host.window()) == 0);
    stage.forget();
    CHECK(stage.module.SelectDS(nullptr) == 0);
    CHECK(given == "");
    CHECK(stage.manager.parent() == GetDesktopWindow());
    CHECK(stage.viewer.warnings() == Lines{"Invalid parent window handle in TScanModule::SelectDS"});
}

namespace {

// The profile of GetAllDS, which isn't there at first.
class ListFile {
public:
    ListFile() { file_.remove(); }
    const char* path() const { return file_.path().c_str(); }
    bool exists() const { return file_.exists(); }
    Lines section() const {
        char text[4096] = "";
        const DWORD size = GetPrivateProfileSectionA("DS", text, sizeof text, path());
        std::replace(text, text + size, '\0', ';');
        return splitRow(text);
    }

private:
    SavedFile file_{(std::filesystem::temp_directory_path() / "scanmodule-sources.ini").string()};
};

}  // namespace

TEST_CASE("the list of the maker's sources") {
    const TW_IDENTITY a = source("A"), b = source("B"), wrapper = source("A WIA-B"), o = source("O", "Other");
    const TW_IDENTITY endless = source(std::string(34, 'x'));
    const std::string x33(33, 'x');
    struct Row {
        Answer preset;
        Sources sources;
        std::string section;
    };
    const Row rows[] = {
        {copy(b), {a, b}, "name0=B; name1=A; name2=B; count=2"},
        // Another maker's default: the last found wins.
        {copy(o), {a, o, b}, "name0=B; name1=A; name2=B; count=2"},
        {copy(wrapper), {wrapper, a, wrapper}, "name0=A; name1=A; count=1"},
        {refusal, {a}, "name0=A; name1=A; count=1"},
        {copy(o), {o, wrapper}, "name0=; count=0"},
        {copy(a), {o}, "name0=A; count=0"},
        // Makers and names are compared letter for letter.
        {copy(o),
         {source("A", "Kavro"), source("C", " KAVRO"), source("wia")},
         "name0=wia; name1=wia; count=1"},
        {copy(endless), {endless}, "name0=" + x33 + "; name1=" + x33 + "; count=1"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.section);
        Stage stage;
        const ListFile file;
        stage.manager.answer(operation::getDefault, row.preset);
        list(stage.manager, row.sources);
        CHECK(stage.module.GetAllDS(file.path()) == 0);
        CHECK(file.section() == splitRow(row.section));
        CHECK(stage.manager.parent() == GetDesktopWindow());
    }
}

TEST_CASE("a list that can't be had, or only with gaps") {
    struct Row {
        int state;
        Operation operation;
        std::string record, section;
    };
    const std::string asked = "OPENDSM; GETDEFAULT; GETFIRST; ", plain = "name0=Plain Source; name1=";
    // Kept: the line names the sibling method.
    const std::string failed = "! OpenDSM returns failure in TScanModule::SelectDS; ";
    const Row rows[] = {
        {2, operation::getFirst, asked + "STATUS; CLOSEDSM; !failure; result 3", plain + "; count=0"},
        // A failure in the middle is skipped.
        {2, operation::getNext, asked + "GETNEXT; GETNEXT; GETNEXT; CLOSEDSM; result 0",
         plain + "Plain Source; name2=Second; count=2"},
        {2, operation::openDsm, notOpened + failed + "result 3", ""},
        {4, operation::openDsm, isOpen + failed + "result 11", ""},
        {1, operation::openDsm, "!manager", ""},
    };
    for (const Row& row : rows) {
        CAPTURE(row.record);
        StageIn stage(row.state);
        const ListFile file;
        stage->manager.answerNext(row.operation, refusal);
        stage->manager.answerNext(operation::getNext, copy(source("Second")));
        const Lines record =
            recordOf(*stage, [&] { return resultText(stage->module.GetAllDS(file.path())); });
        CHECK(record == expectedRecord(row.record, "GetAllDS"));
        CHECK(file.section() == splitRow(row.section));
        CHECK(file.exists() == !row.section.empty());
    }
}

TEST_CASE("the default driver from the manager's list, which leaves the system's default alone") {
    struct Row {
        int state;
        OptionalText regional;
        const char* wanted;
        std::string record;
        const char* chosen;
        bool presetFails = false;
    };
    const std::string found = "OPENDSM; GETDEFAULT; GETFIRST; GETNEXT; CLOSEDSM; result 0";
    const Row rows[] = {
        {2, "J", "PLAIN source", "OPENDSM; GETDEFAULT; CLOSEDSM; result 0", "Plain Source"},
        {2, {}, "Second", found, "Second"},
        {2, "E", "Second", found, "Second"},
        {2, "j", "Second", found, "Second"},
        {2, "E", "Nobody", "OPENDSM; GETDEFAULT; GETFIRST; GETNEXT; GETNEXT; CLOSEDSM; result 12", ""},
        {2, "E", "Second", "OPENDSM; GETDEFAULT; STATUS; GETFIRST; GETNEXT; CLOSEDSM; !failure; result 0",
         "Second", true},
        {4, "E", "Second", isOpen + "! OpenDSM returns failure in @; result 11", "Plain Source"},
        {1, "E", "Second", "!manager", "untouched"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.record);
        const HostSuiteSettings settings(row.regional);
        const DefaultSourceEntry entry("before");
        StageIn stage(row.state);
        if (row.presetFails) stage->manager.answerNext(operation::getDefault, refusal);
        list(stage->manager, {source("First"), source("Second")});
        const Lines record = recordOf(*stage, [&] {
            return resultText(stage->module.SetDefaultDriver(stage->host.window(), row.wanted));
        });
        CHECK(record == expectedRecord(row.record, "SetDefaultDriver"));
        CHECK(DefaultSourceEntry::current() == "before");
        checkChoice(*stage, row.chosen);
    }
}

TEST_CASE("a null parent, a manager that doesn't open, and a user without a data folder") {
    HostSuiteSettings settings("J");
    settings.removeFolderEntry();
    Stage stage;
    stage.manager.answerNext(operation::openDsm, refusal);
    const std::string parent = "! Invalid parent window handle in @; ";
    for (const std::string& row :
         {"OPENDSM; STATUS; " + parent + "! DSM_Entry returns failure in TScanModule::OpenDSM; " +
              "! OpenDSM returns failure in @; result 3",
          "OPENDSM; GETDEFAULT; GETFIRST; GETNEXT; CLOSEDSM; " + parent + "result 12"}) {
        const Lines record =
            recordOf(stage, [&] { return resultText(stage.module.SetDefaultDriver(nullptr, "X")); });
        CHECK(record == expectedRecord(row, "SetDefaultDriver"));
        CHECK(stage.manager.parent() == GetDesktopWindow());
    }
}

TEST_CASE("the Japanese edition searches the driver folders") {
    const std::vector<std::string> drivers = {"twain_32\\a.ds", "twain_32\\b.ds", "twain_32\\sub\\c.ds",
                                              "twain\\d.ds", "twain\\sub\\e.ds"};
    // Neither files of another kind nor folders two levels down.
    std::vector<std::string> files = {"twain_32\\readme.txt", "twain_32\\sub\\deep\\f.ds"};
    files.insert(files.end(), drivers.begin(), drivers.end());
    struct Row {
        const char* wanted;
        const char* failing;  // the driver whose entry the manager can't use
        OptionalText before;
        size_t visited;  // none: the folders are empty
        int result;
    };
    const Row rows[] = {
        {"A.DS", "", "old.ds", 1, 0},  {"b.ds", "a.ds", "old.ds", 2, 0}, {"c.ds", "", "old.ds", 3, 0},
        {"d.ds", "c.ds", {}, 4, 0},    {"e.ds", "", {}, 5, 0},           {"f.ds", "", "old.ds", 5, 12},
        {"nobody", "a.ds", {}, 5, 12}, {"nobody", "", "old.ds", 0, 12},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.wanted));
        const HostSuiteSettings settings("J");
        const DriverFolders folders(row.visited > 0 ? files : std::vector<std::string>());
        const DefaultSourceEntry entry(row.before);
        Stage stage;
        // A manager whose default source is the one of the entry, named like its file.
        Lines visited;
        std::string file;
        const auto nameDefault = [&](TW_MEMREF data) {
            visited.push_back(DefaultSourceEntry::current().value_or("none"));
            file = visited.back().substr(visited.back().rfind('\\') + 1);
            *static_cast<TW_IDENTITY*>(data) = source(file);
        };
        Lines expected = {row.before.value_or("none")};
        Answer answer = succeed();
        answer.act = nameDefault;
        stage.manager.answerNext(operation::getDefault, answer);
        for (const std::string& driver : drivers) {
            const bool fails = std::filesystem::path(driver).filename() == row.failing;
            answer.returnCode = fails ? TWRC_FAILURE : TWRC_SUCCESS;
            stage.manager.answerNext(operation::getDefault, answer);
            if (expected.size() <= row.visited) expected.push_back(DriverFolders::path(driver));
        }
        stage.forget();
        CHECK(stage.module.SetDefaultDriver(stage.host.window(), row.wanted) == row.result);
        CHECK(visited == expected);
        const bool found = row.result == 0;
        CHECK(DefaultSourceEntry::current() == (found ? visited.back() : row.before));
        CHECK(chosenName(stage.module) == (found ? file : ""));
        CHECK(stage.viewer.warnings() == (*row.failing != '\0' ? 1 : 0) *
                                             Lines{"DSM_Entry returns failure in TScanModule::SetDefaultDS"});
        CHECK(stage.manager.state() == 2);
    }
}

TEST_CASE("a manager that never ends its list doesn't hang the host") {
    const HostSuiteSettings settings("E");
    const ListFile file;
    for (const Answer& given : {succeed(), failWith(TWCC_BUMMER)}) {
        for (const bool isSearch : {false, true}) {
            Stage stage;
            Answer answer = given;
            int answers = 0;
            answer.act = [&](TW_MEMREF data) {
                *static_cast<TW_IDENTITY*>(data) = source("Other", "Other");
                // Ends after all, so that the test fails instead of hanging.
                if (++answers == 10000) stage.manager.answer(operation::getNext, returnCode(TWRC_ENDOFLIST));
            };
            stage.manager.answer(operation::getNext, answer);
            CHECK((isSearch ? stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == 12
                            : stage.module.GetAllDS(file.path()) == 0));
            CHECK((answers > 0 && answers < 10000));
            CHECK(stage.manager.state() == 2);
        }
    }
}
