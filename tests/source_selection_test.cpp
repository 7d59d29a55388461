// Which source later sessions use: the manager's dialog, the list of the maker's sources, and the default
// driver, found in the manager's list or, for one edition of the host suite, in the driver folders.
#include <algorithm>

#include "DriverSearch.h"
#include "Script.h"

namespace {

TW_IDENTITY source(const std::string& name, const std::string& maker = "KAVRO") {
    TW_IDENTITY identity = {};
    name.copy(identity.ProductName, sizeof identity.ProductName);
    maker.copy(identity.Manufacturer, sizeof identity.Manufacturer);
    return identity;
}

void list(ScriptedManager& manager, const std::vector<TW_IDENTITY>& sources) {
    for (size_t i = 0; i < sources.size(); ++i)
        manager.answerNext(i == 0 ? operation::getFirst : operation::getNext, copy(sources[i]));
}

// A row that begins with "!parent" is played without a window. How the next session opens its source tells
// whether one was chosen; null: as before.
void checkSelection(Stage& stage, const std::string& row, const std::string& method, const char* chosen,
                    const std::function<int(HWND)>& call) {
    const std::string record = scripted(stage.manager, row);
    stage.forget();
    const int result = call(row.rfind("!parent", 0) == 0 ? nullptr : stage.host.window());
    journal.push_back("result " + std::to_string(result));
    checkStory(stage, record, method);
    if (chosen == nullptr) return;
    char name[34] = "";
    stage.module.GetDSProductName(name);
    CHECK(name == std::string(chosen));
    if (stage.manager.state() != 2) return;
    stage.module.OpenDS(stage.host.window(), nullptr);
    CHECK((stage.manager.calls()[1] == "GETDEFAULT") == (chosen[0] == 0));
}

// The profile of GetAllDS.
Lines section(const SavedFile& file) {
    char text[4096] = "";
    const DWORD size = GetPrivateProfileSectionA("DS", text, sizeof text, file.path().c_str());
    std::replace(text, text + size, '\0', ';');
    return splitRow(text);
}

const std::string listPath = (std::filesystem::temp_directory_path() / "scanmodule-sources.ini").string();
const char* const path = listPath.c_str();
const std::string isOpen = "! Sequence error in TScanModule::OpenDSM; ";
const std::string failed = "! OpenDSM returns failure in @; result ";
const Answer refusal = failWith(TWCC_NODS);

}  // namespace

TEST_CASE("the manager's dialog, and what the next session opens") {
    // The dialog starts without a choice, and leaves one even when it is cancelled.
    Answer cancelled = fill<TW_IDENTITY>([](TW_IDENTITY& identity) {
        CHECK(std::string(identity.ProductName).empty());
        identity = source("Other");
    });
    const Answer taken = cancelled;
    Answer changed = taken;
    changed.returnCode = TWRC_CHECKSTATUS;
    cancelled.returnCode = TWRC_CANCEL;
    const struct {
        int state;
        Answer answer;
        std::string record;
        const char* chosen;
    } rows[] = {
        {2, taken, "OPENDSM; USERSELECT; CLOSEDSM; result 0", "Other"},
        {2, taken, "!parent; OPENDSM of the desktop; USERSELECT; CLOSEDSM of the desktop; result 0", "Other"},
        {2, changed, "OPENDSM; USERSELECT; !failure; CLOSEDSM; result 0", ""},
        {2, cancelled, "OPENDSM; USERSELECT; CLOSEDSM; result -6", ""},
        {2, {}, "OPENDSM; USERSELECT [3]; !failure; CLOSEDSM; result 3", ""},
        // The earlier choice stays.
        {2,
         {},
         "OPENDSM [3]; ! DSM_Entry returns failure in TScanModule::OpenDSM; STATUS; " + failed + "3",
         "First"},
        {4, {}, isOpen + failed + "11", "First"},
        {1, {}, "!manager", nullptr},
    };
    for (const auto& row : rows) {
        StageIn stage(row.state == 1 ? 1 : 2);
        stage->manager.answerNext(operation::userSelect, copy(source("First")));
        stage->module.SelectDS(stage->host.window());
        if (row.state == 4) stage->open();
        stage->manager.answerNext(operation::userSelect, row.answer);
        checkSelection(*stage, row.record, "SelectDS", row.chosen,
                       [&](HWND parent) { return stage->module.SelectDS(parent); });
    }
}

TEST_CASE("the list of the maker's sources") {
    const TW_IDENTITY a = source("A"), b = source("B"), wrapper = source("A WIA-B"), o = source("O", "Other");
    const TW_IDENTITY small = source("S", "Kavro"), lower = source("wia");
    const TW_IDENTITY endless = source(std::string(34, 'x'));
    Answer refusedB = copy(b);
    refusedB.returnCode = TWRC_FAILURE;
    const std::string cut(33, 'x');
    const struct {
        Answer preset;
        std::vector<TW_IDENTITY> sources;
        std::string section;
    } rows[] = {
        {copy(b), {a, b}, "name0=B; name1=A; name2=B; count=2"},
        // Another maker's default: the last found wins.
        {copy(o), {a, o, b}, "name0=B; name1=A; name2=B; count=2"},
        {copy(wrapper), {wrapper, a, wrapper}, "name0=A; name1=A; count=1"},
        {copy(o), {o, wrapper}, "name0=; count=0"},
        {copy(a), {o}, "name0=A; count=0"},
        {refusedB, {a}, "name0=A; name1=A; count=1"},
        // Makers and names are compared letter for letter.
        {refusal, {small, lower}, "name0=wia; name1=wia; count=1"},
        {copy(endless), {endless}, "name0=" + cut + "; name1=" + cut + "; count=1"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.section);
        Stage stage;
        SavedFile file(path);
        file.remove();
        stage.manager.answer(operation::getDefault, row.preset);
        list(stage.manager, row.sources);
        CHECK(stage.module.GetAllDS(path) == 0);
        CHECK(section(file) == splitRow(row.section));
    }
}

TEST_CASE("a list that can't be had, or only with gaps") {
    const std::string asked = "OPENDSM of the desktop; GETDEFAULT; GETFIRST",
                      closed = "CLOSEDSM of the desktop; ";
    const std::tuple<int, std::string, std::string> rows[] = {
        {2, asked + " [3]; !failure; " + closed + "result 3", "name0=Plain Source; name1=; count=0"},
        // A failure in the middle is skipped.
        {2, asked + "; GETNEXT [3]; GETNEXT; GETNEXT; " + closed + "result 0",
         "name0=Plain Source; name1=Plain Source; name2=Second; count=2"},
        // Kept: the line names the sibling method.
        {4, isOpen + "! OpenDSM returns failure in TScanModule::SelectDS; result 11", ""},
        {1, "!manager", ""},
    };
    for (const auto& [state, record, sources] : rows) {
        StageIn stage(state);
        if (state == 2) stage->open();
        if (state == 2) stage->module.CloseDS();
        SavedFile file(path);
        file.remove();
        stage->manager.answerNext(operation::getNext, copy(source("Second")));
        checkSelection(*stage, record, "GetAllDS", nullptr,
                       [&](HWND) { return stage->module.GetAllDS(path); });
        CHECK(section(file) == splitRow(sources));
        CHECK(file.exists() == !sources.empty());
    }
}

TEST_CASE("the default driver from the manager's list, which leaves the system's default alone") {
    const struct {
        int state;
        const char *regional, *wanted;
        std::string record;
        const char* chosen;
    } rows[] = {
        {2, "J", "PLAIN source", "OPENDSM; GETDEFAULT; CLOSEDSM; result 0", "Plain Source"},
        {2, "", "Second", "OPENDSM; GETDEFAULT; GETFIRST; GETNEXT; CLOSEDSM; result 0", "Second"},
        {2, "j", "Second", "OPENDSM; GETDEFAULT; GETFIRST; GETNEXT [1]; GETNEXT; CLOSEDSM; result 0",
         "Second"},
        {2, "E", "Nobody",
         "!parent; OPENDSM of the desktop; GETDEFAULT; GETFIRST; GETNEXT; GETNEXT; CLOSEDSM of the desktop; "
         "result 12",
         ""},
        {2, "E", "Second", "OPENDSM; GETDEFAULT [3]; !failure; GETFIRST; GETNEXT; CLOSEDSM; result 0",
         "Second"},
        {4, "E", "Second", isOpen + failed + "11", "Plain Source"},
        {1, "E", "Second", "!manager", nullptr},
    };
    for (const auto& row : rows) {
        const HostSuiteSettings settings(row.regional);
        const DefaultSourceEntry entry("before");
        StageIn stage(row.state);
        list(stage->manager, {source("First"), source("Second")});
        checkSelection(*stage, row.record, "SetDefaultDriver", row.chosen,
                       [&](HWND parent) { return stage->module.SetDefaultDriver(parent, row.wanted); });
        CHECK(DefaultSourceEntry::current() == "before");
    }
}

TEST_CASE("the Japanese edition searches the driver folders") {
    const std::vector<std::string> drivers = {"twain_32\\a.ds", "twain_32\\b.ds", "twain_32\\sub\\c.ds",
                                              "twain\\d.ds", "twain\\sub\\e.ds"};
    // Neither files of another kind nor folders two levels down.
    std::vector<std::string> files = {"twain_32\\readme.txt", "twain_32\\sub\\deep\\f.ds"};
    files.insert(files.end(), drivers.begin(), drivers.end());
    const struct {
        std::string wanted, failing;  // the driver whose entry the manager can't use
        std::string before;
        size_t visited;  // none: the folders are empty
        bool isFound;
    } rows[] = {
        {"A.DS", "none", "old.ds", 1, true},    {"b.ds", "a.ds", "old.ds", 2, true},
        {"c.ds", "none", "(none)", 3, true},    {"e.ds", "c.ds", "(none)", 5, true},
        {"f.ds", "none", "old.ds", 5, false},   {"nobody", "e.ds", "(none)", 5, false},
        {"nobody", "none", "old.ds", 0, false},
    };
    for (const auto& row : rows) {
        CAPTURE(row.wanted);
        const HostSuiteSettings settings("J");
        const DriverFolders folders(row.visited > 0 ? files : std::vector<std::string>());
        const DefaultSourceEntry entry(row.before);
        Stage stage;
        // A manager whose default source is the one of the entry, named like its file.
        Lines visited;
        Answer answer = fill<TW_IDENTITY>([&](TW_IDENTITY& identity) {
            visited.push_back(DefaultSourceEntry::current());
            identity = source(std::filesystem::path(visited.back()).filename().string());
        });
        stage.manager.answerNext(operation::getDefault, answer);
        Lines expected = {row.before};
        for (const std::string& driver : drivers) {
            const bool fails = driver.find(row.failing) != std::string::npos;
            // Without a condition code, which must not pass for a find.
            answer.returnCode = fails ? TWRC_FAILURE : TWRC_SUCCESS;
            stage.manager.answerNext(operation::getDefault, answer);
            if (expected.size() <= row.visited) expected.push_back(DriverFolders::path(driver));
        }
        // The entries that the manager was asked for, then how it ended.
        const std::string failure = "! DSM_Entry returns failure in TScanModule::SetDefaultDS; STATUS; ";
        std::string record = "OPENDSM; GETDEFAULT; ";
        for (size_t i = 1; i < expected.size(); ++i)
            record += "GETDEFAULT; " + (expected[i].find(row.failing) != std::string::npos ? failure : "");
        const std::string chosen = std::filesystem::path(expected.back()).filename().string();
        checkSelection(stage, record + "CLOSEDSM; result " + (row.isFound ? "0" : "12"), "SetDefaultDriver",
                       row.isFound ? chosen.c_str() : "", [&](HWND parent) {
                           return stage.module.SetDefaultDriver(parent, row.wanted.c_str());
                       });
        CHECK(Lines(visited.begin(), visited.begin() + expected.size()) == expected);
        CHECK(DefaultSourceEntry::current() == (row.isFound ? expected.back() : row.before));
    }
}

TEST_CASE("a manager that never ends its list doesn't hang the host") {
    const HostSuiteSettings settings("E");
    const SavedFile file(path);
    Stage stage;
    for (const TW_UINT16 code : {TWRC_SUCCESS, TWRC_FAILURE}) {
        stage.manager.answer(operation::getNext, returnCode(code));
        CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == 12);
        CHECK(stage.module.GetAllDS(path) == 0);
        CHECK(stage.manager.state() == 2);
    }
}
