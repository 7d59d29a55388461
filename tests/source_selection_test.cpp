// The choice of the source: the manager's dialog and the list of the maker's sources.
#include <doctest.h>

#include <cstring>

#include "SourceChoice.h"

TEST_CASE("the manager's dialog, and what the next session opens") {
    struct Row {
        const char* name;
        Session session;
        Operation operation;
        Answer answer;
        Lines record;
        Lines opening;
    };
    const Answer refusal = failWith(TWCC_LOWMEMORY);
    Answer cancelled = copy(source("Looked at"));
    cancelled.returnCode = TWRC_CANCEL;
    const Row rows[] = {
        {"chosen", Session::Closed, operation::userSelect, copy(source("Other Source")),
         Lines{"OPENDSM", "USERSELECT", "CLOSEDSM", "result 0", "chosen Other Source"}, opensChosen},
        {"cancelled", Session::Closed, operation::userSelect, cancelled,
         Lines{"OPENDSM", "USERSELECT", "CLOSEDSM", "result -6", "chosen "}, opensDefault},
        {"failed", Session::Closed, operation::userSelect, refusal,
         Lines{"OPENDSM", "USERSELECT", "STATUS", "CLOSEDSM", "! DSM_Entry returns failure in @", "result 2",
               "chosen "},
         opensDefault},
        {"the manager doesn't open: the earlier choice stays", Session::Closed, operation::openDsm, refusal,
         Lines{"OPENDSM", "STATUS", openFailure, "! OpenDSM returns failure in @", "result 2",
               "chosen First"},
         opensChosen},
        {"a source is open", Session::Open, operation::userSelect, refusal,
         Lines{openRefused, "! OpenDSM returns failure in @", "result 11", "chosen First"}, nothing},
        {"no manager", Session::NoManager, operation::userSelect, refusal,
         withoutManager + Lines{"chosen untouched"}, nothing},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session == Session::Open ? Session::Closed : row.session);
        stage->manager.answerNext(operation::userSelect, copy(source("First")));
        if (row.session != Session::NoManager) REQUIRE(stage->module.SelectDS(stage->host.window()) == 0);
        if (row.session == Session::Open) stage->open();
        stage->manager.answerNext(row.operation, row.answer);
        const auto call = [&] {
            const int result = stage->module.SelectDS(stage->host.window());
            return Lines{resultLine(result)};
        };
        CHECK(withChoice(*stage, CallRecord::of(*stage, call)) ==
              CallRecord("SelectDS").expected(row.record));
        if (row.session == Session::Closed) {
            CHECK(openingCalls(*stage) == row.opening);
            CHECK(stage->manager.parent() == stage->host.window());
        }
    }
}

TEST_CASE("the dialog starts without a choice, and a null parent is the desktop") {
    Stage stage;
    stage.manager.answerNext(operation::userSelect, copy(source("First")));
    REQUIRE(stage.module.SelectDS(stage.host.window()) == 0);
    std::string given = "none";
    stage.manager.answer(operation::userSelect,
                         fill<TW_IDENTITY>([&](TW_IDENTITY& identity) { given = identity.ProductName; }));
    stage.forget();
    CHECK(stage.module.SelectDS(nullptr) == 0);
    CHECK(given == "");
    CHECK(stage.manager.parent() == GetDesktopWindow());
    CHECK(stage.viewer.warnings() == Lines{"Invalid parent window handle in TScanModule::SelectDS"});
}

namespace {

// The profile of GetAllDS; each case starts without it.
class ListFile {
public:
    ListFile() : file_(temporaryPath()) { file_.remove(); }
    const char* path() const { return file_.path().c_str(); }
    bool exists() const { return file_.exists(); }
    Lines section() const {
        char text[4096] = "";
        GetPrivateProfileSectionA("DS", text, sizeof text, path());
        Lines lines;
        for (const char* line = text; *line != '\0'; line += std::strlen(line) + 1)
            lines.push_back(line);
        return lines;
    }

private:
    static std::string temporaryPath() {
        char temporary[MAX_PATH] = "";
        GetTempPathA(sizeof temporary, temporary);
        return std::string(temporary) + "scanmodule-sources.ini";
    }
    SavedFile file_;
};

}  // namespace

TEST_CASE("the list of the maker's sources") {
    const TW_IDENTITY a = source("A"), b = source("B"), wrapper = source("A WIA-B"),
                      other = source("O", "Other");
    const std::string endless34(34, 'x');
    struct Row {
        const char* name;
        Answer preset;
        Sources sources;
        Lines section;
    };
    const Row rows[] = {
        {"the maker's default", copy(b), {a, b}, {"name0=B", "name1=A", "name2=B", "count=2"}},
        {"another maker's default: the last found wins", copy(other), Sources{a, other, b},
         Lines{"name0=B", "name1=A", "name2=B", "count=2"}},
        {"a wrapper as default", copy(wrapper), {wrapper, a, wrapper}, {"name0=A", "name1=A", "count=1"}},
        {"no default", failWith(TWCC_NODS), {a}, {"name0=A", "name1=A", "count=1"}},
        {"none of the maker's", copy(other), {other, wrapper}, {"name0=", "count=0"}},
        {"a default that isn't listed", copy(a), {other}, {"name0=A", "count=0"}},
        {"makers and names are compared letter for letter", copy(other),
         Sources{source("A", "Kavro"), source("B", "KAVRO Inc"), source("C", " KAVRO"), source("wia")},
         Lines{"name0=wia", "name1=wia", "count=1"}},
        {"ten and more", copy(a), Sources{a, a, a, a, a, a, a, a, a, a, b},
         Lines{"name0=A", "name1=A", "name2=A", "name3=A", "name4=A", "name5=A", "name6=A", "name7=A",
               "name8=A", "name9=A", "name10=A", "name11=B", "count=11"}},
        {"a name without an end", copy(source(endless34)), Sources{source(endless34)},
         Lines{"name0=" + endless34.substr(1), "name1=" + endless34.substr(1), "count=1"}},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        Stage stage;
        const ListFile file;
        stage.manager.answer(operation::getDefault, row.preset);
        list(stage.manager, row.sources);
        const auto call = [&] { return Lines{resultLine(stage.module.GetAllDS(file.path()))}; };
        const Lines calls = Lines{"OPENDSM", "GETDEFAULT", "GETFIRST"} +
                            static_cast<int>(row.sources.size()) * Lines{"GETNEXT"} + Lines{"CLOSEDSM"};
        CHECK(CallRecord::of(stage, call) == CallRecord("GetAllDS").expected(calls + Lines{"result 0"}));
        CHECK(file.section() == row.section);
        CHECK(stage.manager.parent() == GetDesktopWindow());
    }
}

TEST_CASE("a list that can't be had, or only with gaps") {
    struct Row {
        const char* name;
        Session session;
        Operation operation;
        Lines record;
        Lines section;
    };
    const Row rows[] = {
        {"no first source", Session::Closed, operation::getFirst,
         Lines{"OPENDSM", "GETDEFAULT", "GETFIRST", "STATUS", "CLOSEDSM", "! DSM_Entry returns failure in @",
               "result 3"},
         Lines{"name0=Plain Source", "name1=", "count=0"}},
        {"a failure in the middle is skipped", Session::Closed, operation::getNext,
         Lines{"OPENDSM", "GETDEFAULT", "GETFIRST", "GETNEXT", "GETNEXT", "GETNEXT", "CLOSEDSM", "result 0"},
         Lines{"name0=Plain Source", "name1=Plain Source", "name2=Second", "count=2"}},
        {"the manager doesn't open", Session::Closed, operation::openDsm,
         Lines{"OPENDSM", "STATUS", openFailure, "! OpenDSM returns failure in TScanModule::SelectDS",
               "result 3"},
         nothing},
        {"a source is open", Session::Open, operation::openDsm,
         Lines{openRefused, "! OpenDSM returns failure in TScanModule::SelectDS", "result 11"}, nothing},
        {"no manager", Session::NoManager, operation::openDsm, withoutManager, nothing},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        const ListFile file;
        stage->manager.answerNext(row.operation, failWith(TWCC_NODS));
        stage->manager.answerNext(operation::getNext, copy(source("Second")));
        const auto call = [&] { return Lines{resultLine(stage->module.GetAllDS(file.path()))}; };
        CHECK(CallRecord::of(*stage, call) == CallRecord("GetAllDS").expected(row.record));
        CHECK(file.section() == row.section);
        CHECK(file.exists() == !row.section.empty());
    }
}

TEST_CASE("a manager that never ends its list doesn't hang the host") {
    const ListFile file;
    for (const Answer& answer : {copy(source("Other", "Other")), failWith(TWCC_BUMMER)}) {
        Stage stage;
        const EndlessList list(stage.manager, answer);
        CHECK(stage.module.GetAllDS(file.path()) == 0);
        CHECK(list.wasLeft());
        CHECK(stage.manager.state() == 2);
    }
}
