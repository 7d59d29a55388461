// BMP files on their way to other formats: what counts in those that somebody else has written, and that a
// page isn't lost which the format can't hold.
#include <doctest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "common/Failure.h"
#include "common/PageOutput.h"
#include "common/TextEncoding.h"
#include "pages/BmpReader.h"

using namespace host;

namespace {

class Folder {
public:
    Folder() { std::filesystem::create_directory(path_); }
    ~Folder() { std::filesystem::remove_all(path_); }
    std::string file(const std::string& name) const { return path_ + "\\" + name; }

private:
    std::string path_ = (std::filesystem::temp_directory_path() / "smscan-output").string();
};

// A file of one row that holds the text; `height` -1 is top-down.
void writeBmp(const std::string& path, const shared::BmpFormat& format, int height, const std::string& rows) {
    const std::vector<uint8_t> header = shared::bmpHeader(format, std::abs(height), height < 0);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()))
        .write(rows.data(), static_cast<std::streamsize>(rows.size()));
}

std::string failureOf(const std::string& extension, const std::string& bmp, int width, const Folder& folder) {
    OutputRequest request;
    request.pattern = folder.file("p" + extension);
    PageOutput output(request, false);
    UnfinishedFile file(output.nextBmp());
    writeBmp(file.name(), {width, 1, 0, 0, shared::grayPalette(1, false)}, 1, bmp);
    try {
        output.add(file, {width, 1, 1}, {0, 0});
        output.finish();
    } catch (const Failure& failure) {
        CHECK(failure.code == FailureCode::CannotWrite);
        return failure.text;
    }
    return "";
}

}  // namespace

TEST_CASE("a BMP file's rows, whoever has written it") {
    using pages::ColorKind;
    const std::vector<shared::BmpColor> short8 = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    const struct {
        shared::BmpFormat format;
        int height;
        std::string rows;
        ColorKind color;
        std::string first, last;
    } rows[] = {
        {{8, 1, 0, 0, shared::grayPalette(1, false)}, 2, "\x0f...\xaa...", ColorKind::Gray, "\xaa", "\x0f"},
        {{8, 1, 0, 0, shared::grayPalette(1, true)}, 2, "\x0f...\xaa...", ColorKind::Gray, "\x55", "\xf0"},
        {{8, 1, 0, 0, short8}, 2, "\x0f...\xaa...", ColorKind::Palette, "\xaa", "\x0f"},
        {{2, 4, 0, 0, shared::grayPalette(4, true)}, -2, "\x12...\x34...", ColorKind::Gray, "\xed", "\xcb"},
        {{2, 8, 0, 0, short8}, -2, "\x01\x02..\x03\x04", ColorKind::Palette, "\x01\x02", "\x03\x04"},
        {{1, 24, 0, 0, {}}, -2, "bgr.BGR.", ColorKind::Rgb, "rgb", "RGB"},
        {{1, 32, 0, 0, {}}, 2, "BGR.bgr.", ColorKind::Rgb, "rgb", "RGB"}};
    const Folder folder;
    for (const auto& row : rows) {
        CAPTURE(row.rows);
        writeBmp(folder.file("p.bmp"), row.format, row.height, row.rows);
        pages::BmpReader reader(wide(folder.file("p.bmp")));
        CHECK(reader.format().color == row.color);
        for (const std::string& expected : {row.first, row.last})
            CHECK(std::memcmp(reader.row(), expected.data(), expected.size()) == 0);
    }
}

TEST_CASE("a page that the format can't hold is kept as a BMP file; one that fails leaves nothing") {
    const std::string bmp = " It is kept as \"";
    const struct {
        const char* extension;
        int width;
        std::string reason;
    } rows[] = {
        {".jpg", 65536, "the page has more pixels in a row or column than a JPEG picture can have (65535)."},
        {".pdf", 14401, "the page is longer or wider than one of a PDF file can be (200 inches)."},
        {".png", 65, "the page that came ends too early."}};
    for (const auto& row : rows) {
        const Folder folder;
        const std::string cut(row.width > 99 ? static_cast<size_t>(shared::bmpRowBytes(row.width, 1)) : 0,
                              'x');
        CHECK(failureOf(row.extension, cut, row.width, folder) == "Cannot write \"" + folder.file("p") +
                                                                      row.extension + "\": " + row.reason +
                                                                      bmp + folder.file("p.bmp") + "\".");
        CHECK(std::filesystem::exists(folder.file("p.bmp")));
        CHECK_FALSE(std::filesystem::exists(folder.file("p") + row.extension));
        // A limit is one: a pixel less goes.
        if (row.width > 99) {
            const Folder fits;
            std::filesystem::remove(fits.file("p.bmp"));
            CHECK(failureOf(row.extension, cut, row.width - 1, fits) == "");
        }
    }
}

TEST_CASE("a file of many pages is after a page that failed what it was before") {
    constexpr int width = 3000;  // random bits, which grow when they are compressed
    std::string noise(static_cast<size_t>(shared::bmpRowBytes(width, 1)) * 1000, '\0');
    for (size_t i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>(i * i * 2654435761u >> 13);
    for (const char* extension : {".tif", ".pdf"}) {
        std::string bytes[2];
        for (const bool hasSecond : {false, true}) {
            const Folder folder;
            OutputRequest request;
            request.pattern = folder.file(std::string("m") + extension);
            request.multipage = true;
            PageOutput output(request, true);
            for (const size_t size : {noise.size(), noise.size() - 500}) {
                if (size < noise.size() && !hasSecond) continue;
                UnfinishedFile file(output.nextBmp());
                writeBmp(file.name(), {width, 1, 0, 0, shared::grayPalette(1, false)}, -1000,
                         noise.substr(0, size));
                if (size == noise.size())
                    output.add(file, {width, 1000, 1}, {300, 300});
                else
                    CHECK_THROWS_AS(output.add(file, {width, 1000, 1}, {300, 300}), Failure);
            }
            output.finish();
            std::ifstream stream(request.pattern, std::ios::binary);
            bytes[hasSecond].assign(std::istreambuf_iterator<char>(stream), {});
        }
        CHECK(bytes[0].size() > noise.size());
        CHECK(bytes[0] == bytes[1]);
    }
}

TEST_CASE("a file that another program has made meanwhile is left alone") {
    const Folder folder;
    OutputRequest request;
    request.pattern = folder.file("p.png");
    std::ofstream(request.pattern) << "there";
    PageOutput output(request, false);
    UnfinishedFile file(output.nextBmp());
    writeBmp(file.name(), {1, 1, 0, 0, shared::grayPalette(1, false)}, 1, "....");
    CHECK_THROWS_AS(output.add(file, {1, 1, 1}, {0, 0}), Failure);
    CHECK(std::filesystem::file_size(request.pattern) == 5);
    CHECK(std::filesystem::exists(folder.file("p.part.png")));
}
