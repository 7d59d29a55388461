// smscan where the TWAIN manager is missing, is none, refuses everything, or goes while it is in use.
#include <doctest.h>

#include "ScanFolder.h"
#include "WindowsFiles.h"

TEST_CASE("what is wrong with the manager is told, by every use that needs one") {
    const std::string noManager = "! smscan: No TWAIN manager: \"C:\\windows\\TWAIN_32.DLL\" ";
    const std::string advice =
        ". Windows has it as a rule; the driver of a scanner brings it as well.\nexit 3";
    const struct {
        ManagerFile::Kind kind;
        std::string printed;
    } rows[] = {{ManagerFile::Kind::Missing, noManager + "isn't there" + advice},
                {ManagerFile::Kind::WithoutEntry, noManager + "is there but can't be used" + advice},
                // Without a test to hand it on to, it fails whatever it is asked.
                {ManagerFile::Kind::Scripted, "! smscan: No source found. The TWAIN manager "}};
    for (const auto& row : rows) {
        ScanFolder folder;
        const ManagerFile manager(row.kind);
        for (const char* const options : {"", "--presto", "--list", "--caps"}) {
            const std::string printed = folder.smscan(options);
            CAPTURE(printed);
            CHECK(printed.substr(0, row.printed.size()) == row.printed);
            CHECK(folder.files() == "");
        }
    }
}
