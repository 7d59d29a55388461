// What a careless driver, a host's own handlers or the surroundings can't do to the module: make it touch
// memory that isn't its own, run for ever, stand still, or lose memory each time it is loaded.
#include <cstring>
#include <utility>

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

// A viewer that takes no messages until it is told to end.
HANDLE viewerIsThere, viewerEnds;
DWORD WINAPI runHungViewer(void*) {
    const RecordingViewer viewer;
    SetEvent(viewerIsThere);
    return WaitForSingleObject(viewerEnds, INFINITE);
}

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
    const auto fillNames = [](TW_MEMREF data) {
        std::memset(static_cast<TW_IDENTITY*>(data)->ProductFamily, 'x', 2 * sizeof(TW_STR32));
    };
    stage.manager.answer(operation::closeDs, {TWRC_FAILURE, TWCC_BUMMER, {}, fillNames});
    CHECK(stage.module.CloseDS() == TWCC_BUMMER);
    for (const auto get : {stage.module.GetDSProductName, stage.module.GetDSProductFamily}) {
        char buffer[40] = {};
        buffer[34] = '!';
        CHECK(get(buffer) == 0);
        CHECK(std::string(buffer, 35) == std::string(33, 'x') + '\0' + '!');
    }
}

TEST_CASE("blocks of an image that isn't described, or that isn't there yet") {
    Page page = grayPage();
    page.refusal = TWCC_SEQERROR;
    page.strips = {{{100, 5000, 10, 0, 0, 1000}, pattern(1000)}};
    BatchStage stage;
    uint8_t buffer[80] = {};
    unsigned count = 0;
    CHECK(stage.module.ReadBlock(buffer, 12, &count) == 0);
    // Afterwards the next image is read as what it is: two rows of 12 bytes, without their padding.
    stage.source.put({imagePage(TWPT_RGB, 24, 4, 2, 16), page});
    stage.module.ReadBlock(buffer, 32, &count);
    CHECK(std::memcmp(buffer + 12, pattern(32).data() + 16, 12) == 0);
    std::memset(buffer, 0, sizeof buffer);
    stage.module.ReadBlock(buffer, 64, &count);
    CHECK(count == 64);
    CHECK(buffer[63] != 0);
    CHECK(buffer[64] == 0);
}

TEST_CASE("a row of unknown width isn't copied whole when less than one was asked for") {
    BatchStage stage({{imageInfo(TWPT_GRAY, 8, -1, -1), {{{104, 100, 1, 0, 0, 104}, pattern(104)}}}});
    uint8_t buffer[64];
    unsigned count = 0;
    stage.module.ReadBlock(buffer, sizeof buffer, &count);
    CHECK(count == sizeof buffer);
}

TEST_CASE("a block pulled while the source has the word takes nothing away from the batch") {
    uint8_t block[64];
    unsigned count = 0;
    SUBCASE("not the strip's buffer") {
        BatchStage stage({grayPage()});
        stage.source.whileTransferring = [&] {
            if (std::exchange(count, 1) == 0) stage.module.ReadBlock(block, 8, &count);
        };
        stage.host.onXferData = [](const TXferStripInfo& strip) {
            CHECK(strip.Buffer->BufferPointer != nullptr);
            CHECK(strip.Buffer->BufferSize >= strip.BytesWritten);
        };
        stage.run();
        CHECK(journal.with("XferData").size() == 1);
    }
    SUBCASE("not the DIB") {
        BatchStage stage({grayPage()}, mechanisms[0]);
        stage.manager.answerNext(operation::nativeTransfer, fill<HGLOBAL>(
                                                                [&](HGLOBAL& dib) {
                                                                    dib = GlobalAlloc(GPTR, 40);
                                                                    ModuleCalls::adopt(dib);
                                                                    stage.module.ReadBlock(block, 8, &count);
                                                                },
                                                                TWRC_XFERDONE));
        stage.run();
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a list of sources that fails at its start, or has no end") {
    Stage stage;
    stage.forget();
    stage.manager.answer(operation::getFirst, failWith(TWCC_LOWMEMORY));
    CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == TWCC_LOWMEMORY);
    CHECK(journal.with("! ") == Lines{"! DSM_Entry returns failure in TScanModule::SetDefaultDriver"});
    stage.manager.answer(operation::getFirst, succeed());
    stage.manager.answer(operation::getNext, succeed());
    CHECK(stage.module.SetDefaultDriver(stage.host.window(), "Nobody") == TWCC_BADDEST);
    const SavedFile list(temporaryFolder() + "sources.ini");
    CHECK(stage.module.GetAllDS(list.path().c_str()) == 0);
    CHECK(journal.with("! The list of sources has no end in ").size() == 2);
}

TEST_CASE("a viewer that takes no messages is given up, once and for good") {
    const TraceSwitches switches;
    viewerIsThere = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    viewerEnds = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE thread = CreateThread(nullptr, 0, runHungViewer, nullptr, 0, nullptr);
    WaitForSingleObject(viewerIsThere, INFINITE);
    const DWORD start = GetTickCount();
    const Module module;
    const DWORD loaded = GetTickCount();
    for (int i = 0; i < 20; ++i)
        module.IsTWAINAvailable();
    CHECK(loaded - start < 9000);
    CHECK(GetTickCount() - loaded < 1000);
    SetEvent(viewerEnds);
    WaitForSingleObject(thread, INFINITE);
}

TEST_CASE("a viewer's memory that nobody may touch is left alone") {
    const TraceSwitches switches;
    int lines = 0;
    const MessageWindow viewer("KTWDiagXprt32", [&](UINT message, WPARAM, LPARAM) {
        lines += message == WM_USER + 0x1234;
        return false;
    });
    const HANDLE reserved = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE, 0,
                                               4096, "KTWDiagXprt32File");
    const Module module;
    CHECK(module.IsTWAINAvailable());
    CHECK(lines == 0);
    CloseHandle(reserved);
}

TEST_CASE("loading and unloading loses nothing") {
    const ManagerFile noManager(ManagerFile::Kind::Missing);
    for (const std::string library : {"ScanModule.dll", "vscan.ds"}) {
        CAPTURE(library);
        constexpr int cycles = 20;
        size_t before = 0;
        for (int i = 0; i < cycles + 3; ++i) {
            // The first ones fill what Windows keeps for later.
            if (i == 3) before = heapInUse();
            REQUIRE(FreeLibrary(LoadLibraryA((programFolder() + "\\..\\" + library).c_str())));
        }
        CHECK(heapInUse() < before + cycles * 1024);
    }
}
