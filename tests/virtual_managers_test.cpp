// The virtual scanner as the library that a manager loads.
#include <doctest.h>
#include <scanmodule/twain_types.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "recording/RecordingText.h"
#include "support/WindowsFiles.h"

namespace {

template <class Function>
Function exported(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

HMODULE loadBuilt(const std::string& name) {
    HMODULE library = LoadLibraryA((programFolder() + "\\" + name).c_str());
    REQUIRE(library != nullptr);
    return library;
}

// The manager under one of its names, loaded.
class NamedManager {
public:
    explicit NamedManager(const std::string& name) : path_(temporaryFolder() + name) {
        std::filesystem::copy_file(programFolder() + "\\calling_manager.dll", path_,
                                   std::filesystem::copy_options::overwrite_existing);
        library_ = LoadLibraryA(path_.c_str());
        REQUIRE(library_ != nullptr);
    }
    ~NamedManager() {
        FreeLibrary(library_);
        DeleteFileA(path_.c_str());
    }

    TW_UINT16 call(HMODULE source, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) const {
        using Call = TW_UINT16(__cdecl*)(DSENTRYPROC, pTW_IDENTITY, TW_UINT16, TW_UINT16, TW_MEMREF);
        TW_IDENTITY host{};
        host.Id = 9;
        return exported<Call>(library_, "CallSource")(exported<DSENTRYPROC>(source, "DS_Entry"), &host,
                                                      argumentType, message, data);
    }
    TW_UINT16 lastNote() const { return exported<TW_UINT16(__cdecl*)()>(library_, "LastNote")(); }

private:
    const std::string path_;
    HMODULE library_;
};

// Where error output goes while this lives.
class ErrorOutput {
public:
    ErrorOutput() {
        CreatePipe(&read_, &write_, nullptr, 4096);
        SetStdHandle(STD_ERROR_HANDLE, write_);
    }
    ~ErrorOutput() { CloseHandle(read_); }

    // All of it; nothing more is taken.
    std::string end() {
        SetStdHandle(STD_ERROR_HANDLE, before_);
        CloseHandle(write_);
        char text[4096];
        DWORD length = 0;
        return ReadFile(read_, text, sizeof text, &length, nullptr) ? std::string(text, length) : "";
    }

private:
    const HANDLE before_ = GetStdHandle(STD_ERROR_HANDLE);
    HANDLE read_ = nullptr, write_ = nullptr;
};

}  // namespace

TEST_CASE("of two managers the one that opened the source is told, and bad settings are told once") {
    SetEnvironmentVariableA("VSCAN_NONSENSE", "1");
    for (const bool newer : {false, true}) {
        const NamedManager older("TWAIN_32.DLL"), other("TWAINDSM.DLL");
        const NamedManager& manager = newer ? other : older;
        ErrorOutput errors;
        HMODULE source = loadBuilt("..\\vscan.ds");
        TW_IDENTITY identity{};
        CHECK(manager.call(source, DAT_IDENTITY, MSG_GET, &identity) == TWRC_SUCCESS);
        identity.Id = 7;
        TW_USERINTERFACE hidden{};
        for (int time = 0; time < 2; ++time) {
            CHECK(manager.call(source, DAT_IDENTITY, MSG_OPENDS, &identity) == TWRC_SUCCESS);
            CHECK(manager.call(source, DAT_USERINTERFACE, MSG_ENABLEDS, &hidden) == TWRC_SUCCESS);
            CHECK(manager.call(source, DAT_USERINTERFACE, MSG_DISABLEDS, &hidden) == TWRC_SUCCESS);
            CHECK(manager.call(source, DAT_IDENTITY, MSG_CLOSEDS, &identity) == TWRC_SUCCESS);
        }
        CHECK(older.lastNote() == (newer ? MSG_NULL : MSG_XFERREADY));
        CHECK(other.lastNote() == (newer ? MSG_XFERREADY : MSG_NULL));
        FreeLibrary(source);
        CHECK(errors.end() ==
              "virtual scanner: environment VSCAN_NONSENSE: there is no setting \"NONSENSE\"\r\n");
    }
    SetEnvironmentVariableA("VSCAN_NONSENSE", nullptr);
}

TEST_CASE(
    "the recorder before a source: all passes, the manager's notice too, whenever it is freed and loaded") {
    const std::string path = temporaryFolder() + "proxy.scanrec";
    const std::pair<const char*, std::string> variables[] = {
        {"RECORDER_SOURCE", programFolder() + "\\..\\vscan.ds"},
        {"RECORDER_OUTPUT", path},
        {"VSCAN_PRODUCTNAME", "Flatbed with a name: 32 letters."}};
    for (const auto& [name, value] : variables)
        SetEnvironmentVariableA(name, value.c_str());
    const NamedManager manager("TWAIN_32.DLL");
    TW_IDENTITY identity{};
    for (int time = 0; time < 2; ++time) {
        HMODULE source = loadBuilt("..\\recorder.ds");
        CHECK(manager.call(source, DAT_IDENTITY, MSG_GET, &identity) == TWRC_SUCCESS);
        FreeLibrary(source);
        source = loadBuilt("..\\recorder.ds");
        identity.Id = 7;
        CHECK(std::string(identity.ProductName) == "Rec Flatbed with a name: 32 lett");
        TW_USERINTERFACE hidden{};
        CHECK(manager.call(source, DAT_IDENTITY, MSG_OPENDS, &identity) == TWRC_SUCCESS);
        CHECK(std::string(identity.ProductName) == "Rec Flatbed with a name: 32 lett");
        CHECK(manager.call(source, DAT_USERINTERFACE, MSG_ENABLEDS, &hidden) == TWRC_SUCCESS);
        CHECK(manager.lastNote() == MSG_XFERREADY);
        CHECK(manager.call(source, DAT_USERINTERFACE, MSG_DISABLEDS, &hidden) == TWRC_SUCCESS);
        CHECK(manager.call(source, DAT_IDENTITY, MSG_CLOSEDS, &identity) == TWRC_SUCCESS);
        FreeLibrary(source);
    }
    for (const auto& [name, value] : variables)
        SetEnvironmentVariableA(name, nullptr);

    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::string told;
    for (const recording::Operation& operation : recording::readRecording(text).operations) {
        told += std::to_string(operation.state) + " " + std::to_string(operation.triplet.message);
        for (const recording::Notice& notice : operation.notices)
            told += std::string(notice.inside ? " inside " : " after ") + std::to_string(notice.message);
        told += "; ";
    }
    const std::string session =
        "3 1025; 4 1282 inside 257; 6 1281; 4 1026; ";  // open, enable, disable, close
    CHECK(told == session + session);
    CHECK(text.find("52656320") == std::string::npos);          // "Rec "
    CHECK(text.find("6c6574746572732e") != std::string::npos);  // "letters.", which "Rec " had no room for
}
