#include "common/Text.h"
#include "smscan/Options.h"

namespace smscan {

namespace {

constexpr const char* helpBeforeSettings =
    R"(smscan scans pages to files through ScanModule.dll and the TWAIN manager.

Usage: smscan [options]

The source
  --list              list the sources, the default one marked
  --source NAME       use this source instead of the default one
  --select            let the user choose in the manager's dialog, then go on
  --default NAME      make this source the default one
  --caps [--json]     show what the source offers, as a table or as JSON

The scan (what isn't given stays as the source has it)
  --mode MODE         bw, gray or color
  --resolution DPI    dots per inch
  --paper SIZE        max, a4, b5, letter, legal, a5, b4, b6 or b
  --area L,T,R,B      the part to scan, from the top left corner; in, cm, mm or pt
                      behind the numbers, inches if nothing: --area 0,0,2,3in
  --brightness N      -100 to 100
  --contrast N        -100 to 100
  --highlight N       0 to 255
  --shadow N          0 to 255
  --threshold N       0 to 255, the limit between black and white in mode bw
  --gamma G           0.1 to 10
  --set NAME=VALUE    a switch of the source; on, off or a number:
)";

constexpr const char* helpAfterSettings =
    R"(
The way the pages come
  --pages N|all       how many; more than one come from the feeder if there is one. Default 1
  --mech MECH         memory  strip by strip, written while it comes (default)
                      native  as one bitmap in memory
                      file    written by the source
                      block   pulled block by block; 8-bit gray and 24-bit colour best
  --presto            the one-shot scan: one call, one file
  --ui                show the source's own window
  --progress          show how far the page is: a bar on a terminal, else plain lines
  --timeout SECONDS   give up when the source does nothing for so long; 0 is never.
                      Default 120; not counted while the source's window is open

The files
  --output PATTERN    their names; what they end in decides what they are: .bmp, .png, .tif,
                      .jpg, .pdf. %d or %03d is the page's number, %% a per cent sign.
                      Without a number and with more than one page, pages are numbered:
                      page.bmp becomes page-001.bmp. Default scan%03d.bmp
                      -  the page goes to the standard output, all messages to stderr
  --format FORMAT     FORMATS, whatever the name ends in
  --multipage         all pages in one TIFF or PDF file. PDF files without a number in
                      their name hold all pages anyway
  --start N           the first page's number. Default: after the last file that is there
  --force             replace files that are there
  --quality N         of JPEG, also in PDF: 1 to 100. Default 85
  --lossless          PDF files without JPEG

  --version           the version
  --help              this text

Each file is written under another name (name.part.bmp) and renamed when it is complete.
Pages that are complete are kept, whatever happens later. Ctrl+C ends the scan.

Exit codes
  0  done
  1  the source reported an error (named in words), or delivered nothing
  2  wrong use of the options, or a value that the source doesn't offer
  3  no TWAIN manager, or no ScanModule.dll
  4  no source, or none of that name
  5  cancelled
  6  a file can't be written
)";

}  // namespace

std::string helpText() {
    std::string text = helpBeforeSettings;
    for (const SettingName& entry : settingNames)
        text += format("                        %-14s %s\n", entry.name, entry.meaning);
    text += helpAfterSettings;
    const std::string place = "FORMATS";
    return text.replace(text.find(place), place.size(), joined(formatNames()));
}

}  // namespace smscan
