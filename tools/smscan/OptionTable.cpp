#include "smscan/OptionTable.h"

#include <algorithm>

#include "common/Text.h"
#include "common/ValueTexts.h"

namespace smscan {

namespace {

using Word = const std::string&;

constexpr const char* noWords = "";

constexpr const char* pixelWords = "keep hash blank";

record::PixelPolicy parsePixels(Word text) {
    return static_cast<record::PixelPolicy>(parseWord("--pixels", {"keep", "hash", "blank"}, text));
}

std::vector<Option> makeTable() {
    const OptionGroup source = OptionGroup::Source;
    const OptionGroup scan = OptionGroup::Scan;
    const OptionGroup pages = OptionGroup::Pages;
    const OptionGroup files = OptionGroup::Files;
    const OptionGroup program = OptionGroup::Program;
    return {
        {'l', "list", nullptr, source, "list the sources with their numbers, the default one marked", noWords,
         [](Options& o, Word) { o.action = Action::List; }},
        {'d', "source", "NAME", source,
         "use this source instead of the default one: its name, a part of it that no other has, or its "
         "number "
         "in --list",
         noWords, [](Options& o, Word value) { o.source = value; }},
        {'\0', "select", nullptr, source, "let the user choose in the manager's dialog, then go on", noWords,
         [](Options& o, Word) { o.select = true; }},
        {'\0', "default", "NAME", source, "make this source the default one", noWords,
         [](Options& o, Word value) {
             o.action = Action::MakeDefault;
             o.defaultName = value;
         }},
        {'c', "caps", nullptr, source, "show what the source offers", noWords,
         [](Options& o, Word) { o.action = Action::Caps; }},

        {'m', "mode", "MODE", scan, "bw, gray, color or palette", "bw gray color palette", nullptr},
        {'\0', "depth", "BITS", scan, "bits per pixel, as the mode allows", "1 4 8 16 24 48", nullptr},
        {'r', "resolution", "DPI", scan, "dots per inch", "75 100 150 200 300 400 600 1200", nullptr},
        {'\0', "scale", "FACTOR", scan, "enlarge or reduce: 0.5 or 50%", "0.5 1 2", nullptr},
        {'p', "paper", "SIZE", scan, "max, a4, b5, letter, legal, a5, b4, b6 or b",
         "max a4 b5 letter legal a5 b4 b6 b", nullptr},
        {'\0', "area", "L,T,R,B", scan,
         "the part to scan, from the top left corner; in, cm, mm or pt behind the numbers, inches if "
         "nothing: 0,0,2,3in. A size is taken as well, see --size",
         noWords, nullptr},
        {'\0', "size", "WxH[+L+T]", scan, "the same as a size, and where it begins: 100x150mm or 4x6+1+1in",
         noWords, nullptr},
        {'\0', "source-type", "TYPE", scan, "where pages come from: adf (the feeder) or flatbed",
         "adf flatbed", nullptr},
        {'\0', "feeder", nullptr, scan, "the same as --source-type adf", noWords, nullptr},
        {'\0', "flatbed", nullptr, scan, "the same as --source-type flatbed", noWords, nullptr},
        {'\0', "brightness", "N", scan, "-100 to 100", noWords, nullptr},
        {'\0', "contrast", "N", scan, "-100 to 100", noWords, nullptr},
        {'\0', "highlight", "N", scan, "0 to 255", noWords, nullptr},
        {'\0', "shadow", "N", scan, "0 to 255", noWords, nullptr},
        {'\0', "threshold", "N", scan, "0 to 255, the limit between black and white in mode bw", noWords,
         nullptr},
        {'\0', "gamma", "G", scan, "0.1 to 10", noWords, nullptr},
        {'\0', "set", "NAME=VALUE", scan, "a switch of the source; on, off or a number:", noWords, nullptr},

        {'n', "pages", "N|all", pages,
         "how many; more than one come from the feeder if there is one. Default 1", "1 all", nullptr},
        {'\0', "mech", "MECH", pages,
         "memory: strip by strip, written while it comes; native: as one bitmap in memory; file: written by "
         "the source; block: pulled block by block, 8-bit gray and 24-bit colour best. Default: the first of "
         "memory, native and file that the source offers",
         "memory native file block", nullptr},
        {'\0', "presto", nullptr, pages, "the one-shot scan: one call, one file", noWords,
         [](Options& o, Word) { o.oneShot = true; }},
        {'\0', "ui", nullptr, pages, "show the source's own window", noWords, nullptr},
        {'\0', "dry-run", nullptr, pages,
         "open the source, set everything and show what it made of it, but scan nothing", noWords,
         [](Options& o, Word) { o.action = Action::DryRun; }},
        {'\0', "timeout", "SECONDS", pages,
         "give up when the source does nothing for so long, also within one call (a page by native, file or "
         "--presto is one call); 0 is never. Default 120; not counted while the source's window is open",
         noWords, nullptr},

        {'o', "output", "PATTERN", files,
         "their names, whose ending decides what they are: .bmp, .png, .tif, .jpg or .pdf. %d or %03d is the "
         "page's number, %% a per cent sign. Without a number and with more than one page, pages are "
         "numbered: page.bmp becomes page-001.bmp. A dash alone: the page goes to the standard output, all "
         "messages to the error output. Default scan%03d.bmp",
         "<file>", nullptr},
        {'f', "format", "FORMAT", files, "bmp, png, tiff, jpeg or pdf, whatever the name ends in",
         "bmp png tiff jpeg pdf", nullptr},
        {'\0', "multipage", nullptr, files,
         "all pages in one TIFF or PDF file; PDF files without a number in their name hold all pages anyway",
         noWords, nullptr},
        {'\0', "start", "N", files, "the first page's number. Default: after the last file that is there",
         noWords, nullptr},
        {'\0', "force", nullptr, files, "replace files that are there", noWords, nullptr},
        {'\0', "quality", "N", files, "of JPEG, also in PDF: 1 to 100. Default 85", noWords, nullptr},
        {'\0', "lossless", nullptr, files, "PDF files without JPEG", noWords, nullptr},

        {'\0', "json", nullptr, program,
         "print sources, capabilities and pages as JSON, one text a line, for programs", noWords,
         [](Options& o, Word) { o.json = true; }},
        {'\0', "progress", nullptr, program,
         "show how far the page is: a bar on a terminal, else plain lines", noWords,
         [](Options& o, Word) { o.progress = true; }},
        {'\0', "record", "FILE", program,
         "write down all that passes between the module and the source, for the virtual scanner to answer "
         "like it; the pixels go to FILE.pixels",
         "<file>", [](Options& o, Word value) { o.recording = value; }},
        {'\0', "pixels", "POLICY", program,
         "what a recording holds of the pages: keep, hash (only a checksum) or blank (a pattern in their "
         "place). Default keep",
         pixelWords, [](Options& o, Word value) { o.pixels = parsePixels(value); }},
        {'\0', "survey", nullptr, program,
         "ask the source for everything before the scan, so that a recording answers other hosts, too",
         noWords, [](Options& o, Word) { o.survey = true; }},
        {'\0', "survey-modes", nullptr, program,
         "before the scan, a page in each mode at 75, 150 and 300 dots per inch, for the recording only",
         noWords, [](Options& o, Word) { o.surveyModes = true; }},
        {'q', "quiet", nullptr, program, "say nothing of pages, notes and progress; errors are told", noWords,
         [](Options& o, Word) { o.quiet = true; }},
        {'V', "version", nullptr, program, "print the version", noWords,
         [](Options& o, Word) { o.action = Action::Version; }},
        {'h', "help", nullptr, program, "print this text", noWords,
         [](Options& o, Word) { o.action = Action::Help; }},
        {'\0', "help-man", nullptr, program, "print the manual page, for man", noWords,
         [](Options& o, Word) { o.action = Action::ManPage; }},
        {'\0', "help-bash", nullptr, program, "print the completion of options, for bash", noWords,
         [](Options& o, Word) { o.action = Action::Completion; }},
    };
}

// Edits that make one word of the other: a letter more, less, another, or two exchanged.
size_t distanceBetween(const std::string& one, const std::string& other) {
    std::vector<std::vector<size_t>> edits(one.size() + 1, std::vector<size_t>(other.size() + 1));
    for (size_t i = 0; i <= one.size(); ++i)
        for (size_t j = 0; j <= other.size(); ++j) {
            if (i == 0 || j == 0) {
                edits[i][j] = i + j;
                continue;
            }
            const size_t changed = edits[i - 1][j - 1] + (one[i - 1] != other[j - 1]);
            edits[i][j] = std::min({changed, edits[i - 1][j] + 1, edits[i][j - 1] + 1});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                edits[i][j] = std::min(edits[i][j], edits[i - 2][j - 2] + 1);
        }
    return edits[one.size()][other.size()];
}

}  // namespace

const std::vector<Option>& optionTable() {
    static const std::vector<Option> table = makeTable();
    return table;
}

const char* titleOf(OptionGroup group) {
    static constexpr const char* titles[] = {"The source",
                                             "The scan (what isn't given stays as the source has it)",
                                             "The pages and how they come", "The files", "The program"};
    return titles[static_cast<size_t>(group)];
}

const char* const afterOptions =
    "Values that are words may be written in any case. Each file is written under another name "
    "(name.part.bmp) and renamed when it is complete. Pages that are complete are kept, whatever happens "
    "later. Ctrl+C ends the scan, a second one at once.";

const std::vector<Explained> exitCodes{
    {"0", "done"},
    {"1", "the source reported an error (named in words), delivered nothing, hangs or crashed"},
    {"2", "wrong use of the options, or a value that the source doesn't offer"},
    {"3", "no TWAIN manager, or no ScanModule.dll"},
    {"4", "no source, or none of that name"},
    {"5", "cancelled"},
    {"6", "a file can't be written"},
};

const std::vector<Explained> examples{
    {"smscan -m gray -r 300 -o letter.bmp", "one page to letter.bmp"},
    {"smscan --feeder -n all -o letters.pdf", "all pages of the feeder in one file"},
    {"smscan --feeder -n all -o \"page%03d.png\"", "the same as files with numbers"},
    {"smscan --size 100x150mm -r 600 -o photo.bmp", "a photo in the glass's top left corner"},
    {"smscan -d 2 --caps", "what the second source of --list offers"},
    {"smscan --record my.scanrec --survey -o page.bmp", "the scanner on record, with one page"},
    {"smscan --dry-run -m bw -r 240 --json", "what the source would make of it, for a program"},
};

const Option* findOption(const std::string& name) {
    for (const Option& option : optionTable())
        if (name == option.name) return &option;
    return nullptr;
}

const Option* findOption(char letter) {
    for (const Option& option : optionTable())
        if (letter == option.letter && letter != '\0') return &option;
    return nullptr;
}

const Option* closestOption(const std::string& name) {
    constexpr size_t shortestBeginning = 3;
    const std::string lower = lowered(name);
    const Option* closest = nullptr;
    size_t least = lower.size() / 3 + 1;  // a third of the letters may be wrong
    for (const Option& option : optionTable()) {
        const bool begins = lower.size() >= shortestBeginning && std::string(option.name).find(lower) == 0;
        const size_t distance = begins ? 0 : distanceBetween(lower, option.name);
        if (distance >= least) continue;
        least = distance;
        closest = &option;
    }
    return closest;
}

std::string usageOf(const Option& option) {
    return std::string("--") + option.name + (option.value ? std::string(" ") + option.value : "");
}

}  // namespace smscan
