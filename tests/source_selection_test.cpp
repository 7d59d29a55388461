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

// A row that begins with "!parent" is played without a window. It ends with the source that is chosen then,
// if any; how the next session opens its source must fit.
void checkSelection(Stage& stage, const std::string& row, const std::string& method,
                    const std::function<int(HWND)>& call) {
    const std::string record = scripted(stage.manager, row);
    stage.forget();
    const int result = call(row.rfind("!parent", 0) == 0 ? nullptr : stage.host.window());
    char name[34] = "";
    if (result != -1) stage.module.GetDSProductName(name);
    journal.push_back("result " + std::to_string(result));
    if (name[0] != 0) journal.push_back(name);
    checkStory(stage, record, method);
    if (stage.manager.state() != 2 || result == -1) return;
    stage.module.OpenDS(stage.host.window(), nullptr);
    CHECK((stage.manager.calls()[1] == "GETDEFAULT") == (name[0] == 0));
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

}  // namespace

TEST_CASE("the manager's dialog, and what the next session opens") {
    const std::string asked = "OPENDSM; USERSELECT",
                      notOpened = "! DSM_Entry returns failure in TScanModule::OpenDSM; ";
    const std::pair<int, std::string> rows[] = {
        {2, asked + "; CLOSEDSM; result 0; Other"},
        {2, "!parent; OPENDSM of the desktop; USERSELECT; CLOSEDSM of the desktop; result 0; Other"},
        {2, asked + " [check]; !failure; CLOSEDSM; result 0"},
        {2, asked + " [cancel]; CLOSEDSM; result -6"},
        {2, asked + " [3]; !failure; CLOSEDSM; result 3"},
        // The earlier choice stays.
        {2, "OPENDSM [3]; " + notOpened + "STATUS; " + failed + "3; First"},
        {4, isOpen + failed + "11; First"},
        {1, "!manager"},
    };
    for (const auto& [state, record] : rows) {
        StageIn stage(state == 1 ? 1 : 2);
        stage->manager.answer(operation::userSelect, copy(source("First")));
        stage->module.SelectDS(stage->host.window());
        if (state == 4) stage->open();
        // The dialog starts without a choice, and leaves one however it ends.
        stage->manager.answer(operation::userSelect, fill<TW_IDENTITY>([](TW_IDENTITY& identity) {
                                  CHECK(std::string(identity.ProductName).empty());
                                  identity = source("Other");
                              }));
        checkSelection(*stage, record, "SelectDS",
                       [&](HWND parent) { return stage->module.SelectDS(parent); });
    }
}

TEST_CASE("the list of the maker's sources") {
    const TW_IDENTITY a = source("A"), b = source("B"), wrapper = source("A WIA-B"), o = source("O", "Other");
    const TW_IDENTITY small = source("S", "Kavro"), lower = source("wia");
    const TW_IDENTITY endless = source(std::string(34, 'x'));
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
        {copy(b, TWRC_FAILURE), {a}, "name0=A; name1=A; count=1"},
        // Makers and names are compared letter for letter.
        {failWith(TWCC_NODS), {small, lower}, "name0=wia; name1=wia; count=1"},
        {copy(endless), {endless}, "name0=" + cut + "; name1=" + cut + "; count=1"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.section);
        Stage stage;
        SavedFile file(path);
        file.set(std::nullopt);
        stage.manager.answer(operation::getDefault, row.preset);
        list(stage.manager, row.sources);
        CHECK(stage.module.GetAllDS(path) == 0);
        CHECK(section(file) == splitRow(row.section));
    }
}

TEST_CASE("a list that can't be had, or only with gaps") {
    const std::string asked = "OPENDSM of the desktop; GETDEFAULT; GETFIRST",
                      closed = "CLOSEDSM of the desktop";
    const std::tuple<int, std::string, std::string> rows[] = {
        {2, asked + " [3]; !failure; " + closed + "; result 3", "name0=Plain Source; name1=; count=0"},
        // A failure in the middle is skipped.
        {2, asked + "; GETNEXT [3]; GETNEXT; GETNEXT; " + closed + "; result 0",
         "name0=Plain Source; name1=First; name2=Last; count=2"},
        // Kept: the line names the sibling method.
        {4, isOpen + "! OpenDSM returns failure in TScanModule::SelectDS; result 11; Plain Source", ""},
        {1, "!manager", ""},
    };
    for (const auto& [state, record, sources] : rows) {
        StageIn stage(state);
        // A session before has had a window of its own.
        if (state == 2) stage->open();
        if (state == 2) stage->module.CloseDS();
        SavedFile file(path);
        file.set(std::nullopt);
        list(stage->manager, {source("First"), source("Second"), source("Last")});
        checkSelection(*stage, record, "GetAllDS", [&](HWND) { return stage->module.GetAllDS(path); });
        CHECK(section(file) == splitRow(sources));
        CHECK(fileExists(path) == !sources.empty());
    }
}

TEST_CASE("the default driver from the manager's list, which leaves the system's default alone") {
    const std::string asked = "OPENDSM; GETDEFAULT", found = "GETFIRST; GETNEXT; CLOSEDSM; result 0; Second";
    const struct {
        int state;
        const char *regional, *wanted;
        std::string record;
    } rows[] = {
        {2, "J", "PLAIN source", asked + "; CLOSEDSM; result 0; Plain Source"},
        {2, "", "Second", asked + "; " + found},
        {2, "E", "Second", asked + " [3]; !failure; " + found},
        // What comes with a failure isn't looked at.
        {2, "j", "Second", asked + "; GETFIRST; GETNEXT [1]; GETNEXT; GETNEXT; CLOSEDSM; result 12"},
        {2, "E", "Plain Source",
         asked + " [1]; !failure; GETFIRST; GETNEXT; GETNEXT; GETNEXT; CLOSEDSM; result 12"},
        {2, "E", "Last",
         "!parent; OPENDSM of the desktop; GETDEFAULT; GETFIRST; GETNEXT; GETNEXT; CLOSEDSM of the desktop; "
         "result 0; Last"},
        {4, "E", "Second", isOpen + failed + "11; Plain Source"},
        {1, "E", "Second", "!manager"},
    };
    for (const auto& row : rows) {
        const HostSuiteSettings settings(row.regional);
        const DefaultSourceEntry entry("before");
        StageIn stage(row.state);
        stage->manager.answer(operation::getDefault, copy(source("Plain Source")));
        list(stage->manager, {source("First"), source("Second"), source("Last")});
        checkSelection(*stage, row.record, "SetDefaultDriver",
                       [&](HWND parent) { return stage->module.SetDefaultDriver(parent, row.wanted); });
        CHECK(DefaultSourceEntry::current() == "before");
    }
}

TEST_CASE("the Japanese edition searches the driver folders") {
    const std::string drivers[] = {"twain_32\\a.ds", "twain_32\\b.ds", "twain_32\\sub\\c.ds", "twain\\d.ds",
                                   "twain\\sub\\e.ds"};
    // Neither files of another kind nor folders two levels down.
    std::vector<std::string> files = {"twain_32\\readme.txt", "twain_32\\sub\\deep\\f.ds"};
    files.insert(files.end(), std::begin(drivers), std::end(drivers));
    const struct {
        const char* wanted;
        std::string before;
        std::string asked;  // drivers in turn; with '!' the manager can't use the entry
        std::string chosen;
    } rows[] = {
        {"A.DS", "old.ds", "a", "a.ds"},     {"b.ds", "old.ds", "a! b", "b.ds"},
        {"c.ds", "(none)", "a b c", "c.ds"}, {"e.ds", "(none)", "a b c! d e", "e.ds"},
        {"f.ds", "old.ds", "a b c d e", ""}, {"nobody", "(none)", "a b c d e!", ""},
        {"nobody", "old.ds", "", ""},
    };
    const std::string failure = "! DSM_Entry returns failure in TScanModule::SetDefaultDS; STATUS; ";
    for (const auto& row : rows) {
        CAPTURE(row.wanted);
        const HostSuiteSettings settings("J");
        const DriverFolders folders(row.asked.empty() ? std::vector<std::string>() : files);
        const DefaultSourceEntry entry(row.before);
        Stage stage;
        Lines visited, expected = {row.before};
        // A manager whose default source is the one of the entry, named like its file.
        const auto giveDefault = [&](TW_IDENTITY& identity) {
            visited.push_back(DefaultSourceEntry::current());
            identity = source(std::filesystem::path(visited.back()).filename().string());
        };
        stage.manager.answerNext(operation::getDefault, fill<TW_IDENTITY>(giveDefault));
        std::string record = "OPENDSM; GETDEFAULT; ", name;
        for (std::istringstream names(row.asked); names >> name;) {
            expected.push_back(DriverFolders::path(drivers[name[0] - 'a']));
            // Without a condition code, which must not pass for a find.
            const bool fails = name.back() == '!';
            stage.manager.answerNext(operation::getDefault,
                                     fill<TW_IDENTITY>(giveDefault, fails ? TWRC_FAILURE : TWRC_SUCCESS));
            record += fails ? "GETDEFAULT; " + failure : "GETDEFAULT; ";
        }
        const bool isFound = !row.chosen.empty();
        checkSelection(stage, record + "CLOSEDSM; result " + (isFound ? "0; " : "12; ") + row.chosen,
                       "SetDefaultDriver",
                       [&](HWND parent) { return stage.module.SetDefaultDriver(parent, row.wanted); });
        CHECK(visited == expected);
        CHECK(DefaultSourceEntry::current() == (isFound ? expected.back() : row.before));
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
