#include "smtrace/Options.h"

namespace smtrace {

const wchar_t helpText[] =
    L"usage: smtrace [OPTION...] [COMMAND [ARGUMENT...]]\n"
    L"Shows what ScanModule.dll does, line by line, while it does it. Start it before the host: a module "
    L"looks for\n"
    L"a viewer when it is loaded. With a COMMAND, smtrace starts it and ends with it, with its exit code.\n"
    L"\n"
    L"  --console     write the lines to the standard output, without a window\n"
    L"  --log FILE    write the lines to FILE, without a window; one that exists is overwritten\n"
    L"  --statistics  at the end: how often each method was called, and how long it took\n"
    L"  -h, --help    this text\n"
    L"  -V, --version the version\n"
    L"\n"
    L"Without options and COMMAND a window opens. A line of a log: milliseconds since the line before, the "
    L"process\n"
    L"that sent it, its level, what it says, the place in the module's source.\n"
    L"Exit codes: 0, 1 for what can't be done, 2 for a wrong command line, or that of COMMAND.\n";

Options parseOptions(const std::vector<std::wstring>& words) {
    Options options;
    size_t i = 0;
    for (; i < words.size() && words[i].substr(0, 1) == L"-"; ++i) {
        const std::wstring& word = words[i];
        if (word == L"--") {
            ++i;
            break;
        } else if (word == L"--console") {
            options.console = true;
        } else if (word == L"--statistics") {
            options.statistics = true;
        } else if (word == L"--log") {
            if (++i == words.size() || words[i].empty()) throw UsageError{L"--log needs the name of a file."};
            options.log = words[i];
        } else if (word == L"--help" || word == L"-h") {
            options.help = true;
        } else if (word == L"--version" || word == L"-V") {
            options.version = true;
        } else {
            throw UsageError{L"Unknown option " + word + L"."};
        }
    }
    for (; i < words.size(); ++i)
        options.command += (options.command.empty() ? L"" : L" ") + quoted(words[i]);
    if (!options.command.empty() && !options.console && !options.statistics && options.log.empty())
        throw UsageError{L"Where to with the lines of a command? --console, --log FILE or --statistics."};
    return options;
}

// Backslashes count only before a quote, where each is doubled.
std::wstring quoted(const std::wstring& word) {
    if (!word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring::npos) return word;
    std::wstring text = L"\"";
    size_t backslashes = 0;
    for (const wchar_t letter : word) {
        if (letter == L'"') text.append(backslashes + 1, L'\\');
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        text += letter;
    }
    return text.append(backslashes, L'\\') + L"\"";
}

}  // namespace smtrace
