// What a careless driver, a host's own handlers or the surroundings can't do to the module: make it touch
// memory that isn't its own, run for ever, stand still, or lose memory each time it is loaded.
#include <cstring>

#include "BatchStage.h"
#include "OneShotStage.h"
#include "Story.h"

namespace {

constexpr int limit = 4096;  // strips without a byte, in a row

Page endlessPage(const StripFacts& facts) {
    Page page = grayPage();
    page.strips.assign(limit + 10, Strip{facts, {}});
    return page;
}

// Bytes in use of all heaps.
size_t heapInUse() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < count; ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    return bytes;
}

// A viewer whose thread takes no messages, until the end of the scope.
class HungViewer {
public:
    HungViewer() : thread_(CreateThread(nullptr, 0, run, this, 0, nullptr)) {
        WaitForSingleObject(ready_, INFINITE);
    }
    ~HungViewer() {
        SetEvent(over_);
        WaitForSingleObject(thread_, INFINITE);
        for (const HANDLE handle : {thread_, ready_, over_})
            CloseHandle(handle);
    }

private:
    static DWORD WINAPI run(void* self) {
        auto& viewer = *static_cast<HungViewer*>(self);
        const RecordingViewer window;
        SetEvent(viewer.ready_);
        WaitForSingleObject(viewer.over_, INFINITE);
        return 0;
    }

    const HANDLE ready_ = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE over_ = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE thread_;
};

}  // namespace

TEST_CASE("a batch within a batch doesn't begin, however often the source says ready") {
    for (const Mechanism& by : mechanisms) {
        BatchStage stage({grayPage(), grayPage()}, by);
        stage.host.onMessage = [&](const std::string& line) {
            if (line == "XferStart" || line == "XferData") CHECK(stage.deliver(MSG_XFERREADY));
        };
        stage.run();
        const std::string refusal = "! A batch is running already in TScanModule::IsDSEvent capturing";
        const bool hasStrips = by.code == SM_MECH_MEMORY;
        CHECK(journal.with(refusal).size() == (hasStrips ? 6 : 2));
        CHECK(journal.with("XferEnd 0").size() == 2);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a host whose window is gone has cancelled everything") {
    for (const Mechanism& by : mechanisms) {
        BatchStage stage({grayPage(), grayPage(), grayPage()}, by);
        stage.source.countIsKnown = false;
        stage.host.onXferStart = [&](TXferImageInfo&) { DestroyWindow(stage.host.window()); };
        stage.run();
        CHECK(journal.with("XferStart").size() == 1);
        CHECK(journal.with("RESET").size() == 1);
    }
}

TEST_CASE("strips without end") {
    const std::string words = "! The strips have no end in TScanModule::";
    SUBCASE("pushed") {
        BatchStage stage({endlessPage({4, 4, 0, 0, 0, 0}), grayPage()});
        stage.run();
        CHECK(journal.with(words + "DoMemXfer").size() == 1);
        CHECK(journal.with("XferEnd ") == Lines{"XferEnd 1", "XferEnd 0"});
    }
    SUBCASE("pulled") {
        BatchStage stage({endlessPage({4, 4, 0, 0, 0, 0})});
        uint8_t buffer[100];
        unsigned count = 0;
        for (int calls = 0; calls < limit; ++calls) {
            CHECK(count == 0);
            CHECK(stage.module.ReadBlock(buffer, 64, &count) == (calls == limit - 1));
        }
        CHECK(count == 0xFFFFFFFF);
        CHECK(journal.with(words + "DoMemXfer").size() == 1);
    }
    // They have bytes, but there are more of them than the image can have.
    SUBCASE("into a file") {
        OneShotStage stage({endlessPage({4, 4, 256, 0, 0, 1024})});
        CHECK(stage.scan() == SM_SCANTOFILE_BAD_IMAGE);
        CHECK(stage.viewer.warnings().with("The strips have no end").size() == 1);
    }
}

TEST_CASE("names that fill their fields to the brim") {
    Stage stage;
    stage.open();
    stage.manager.answer(operation::closeDs, {TWRC_FAILURE, TWCC_BUMMER, {}, [](TW_MEMREF data) {
                                                  auto& source = *static_cast<TW_IDENTITY*>(data);
                                                  std::memset(source.ProductFamily, 'f', 34);
                                                  std::memset(source.ProductName, 'n', 34);
                                              }});
    CHECK(stage.module.CloseDS() == TWCC_BUMMER);
    char buffer[35] = {};
    buffer[34] = '!';
    CHECK(stage.module.GetDSProductName(buffer) == 0);
    CHECK(std::string(buffer) == std::string(33, 'n'));
    CHECK(stage.module.GetDSProductFamily(buffer) == 0);
    CHECK(std::string(buffer) == std::string(33, 'f'));
    CHECK(buffer[34] == '!');
}

TEST_CASE("blocks of an image that the source doesn't describe are cut at the host's size") {
    Page page = grayPage();
    page.refusal = TWCC_SEQERROR;
    page.strips = {{{100, 5000, 10, 0, 0, 1000}, pattern(1000)}};
    BatchStage stage({page});
    uint8_t buffer[80];
    std::memset(buffer, 0, sizeof buffer);
    unsigned count = 0;
    stage.module.ReadBlock(buffer, 64, &count);
    CHECK(count == 64);
    CHECK(buffer[63] != 0);
    CHECK(buffer[64] == 0);
}

TEST_CASE("a block asked for too early leaves the next image as it is") {
    BatchStage stage;
    uint8_t buffer[80];
    unsigned count = 0;
    CHECK(stage.module.ReadBlock(buffer, 12, &count) == 0);
    // Two rows of four pixels, three bytes each, without the padding.
    stage.source.put({imagePage(TWPT_RGB, 24, 4, 2, 16)});
    stage.module.ReadBlock(buffer, 32, &count);
    CHECK(std::memcmp(buffer + 12, pattern(32).data() + 16, 12) == 0);
}

TEST_CASE("a list of sources that fails at its start, or has no end") {
    const Answer failure = failWith(TWCC_LOWMEMORY);
    const std::string search = "OPENDSM; GETDEFAULT; GETFIRST; ";
    {
        Stage stage;
        stage.forget();
        stage.manager.answer(operation::getFirst, failure);
        CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == TWCC_LOWMEMORY);
        checkStory(stage, search + "!failure; CLOSEDSM", "SetDefaultDriver");
    }
    Stage stage;
    stage.manager.answer(operation::getNext, succeed());
    CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == TWCC_BADDEST);
    const SavedFile list(temporaryFolder() + "sources.ini");
    CHECK(stage.module.GetAllDS(list.path().c_str()) == 0);
    CHECK(journal.with("! The list of sources has no end in ").size() == 2);
}

TEST_CASE("a viewer that takes no messages is given up, once and for good") {
    const HungViewer viewer;
    const TraceSwitches switches;
    const ULONGLONG start = GetTickCount();
    Module module;
    const ULONGLONG loaded = GetTickCount();
    for (int i = 0; i < 20; ++i)
        module.IsTWAINAvailable();
    CHECK(loaded - start < 9000);
    CHECK(GetTickCount() - loaded < 1000);
}

TEST_CASE("loading and unloading loses nothing") {
    const ManagerFile noManager(ManagerFile::Kind::Missing);
    const std::string scanner = Module::path().substr(0, Module::path().rfind('\\')) + "\\vscan.ds";
    for (const std::string& path : {Module::path(), scanner}) {
        CAPTURE(path);
        constexpr int cycles = 20;
        size_t before = 0;
        for (int i = 0; i < cycles + 3; ++i) {
            // The first ones fill what Windows keeps for later.
            if (i == 3) before = heapInUse();
            const HMODULE library = LoadLibraryA(path.c_str());
            REQUIRE(library != nullptr);
            FreeLibrary(library);
        }
        CHECK(heapInUse() < before + cycles * 1024);
    }
}
