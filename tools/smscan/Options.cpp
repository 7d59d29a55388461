#include "smscan/Options.h"

#include "common/OutputValues.h"
#include "common/Text.h"
#include "smscan/OptionTable.h"

namespace smscan {

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw Failure{ExitCode::Usage, text + "\nsmscan --help lists the options."};
}

[[noreturn]] void refuseUnknown(const std::string& word, const std::string& name) {
    const Option* const closest = closestOption(name);
    refuse(format("Unknown option \"%s\".", word.c_str()) +
           (closest ? format(" Did you mean --%s?", closest->name) : ""));
}

// The command line, read from word to word.
class WordReader {
public:
    explicit WordReader(const std::vector<std::string>& words) : words_(words) {}

    // False when there is no more. Help and the like end the reading, whatever stands behind them.
    bool next(Options& options) {
        if (place_ == words_.size() || options.action >= Action::Version) return false;
        const std::string& word = words_[place_++];
        if (word.compare(0, 2, "--") == 0 && word.size() > 2)
            readLong(word, options);
        else if (word.size() > 1 && word[0] == '-')
            readLetters(word, options);
        else
            refuse(format(
                "\"%s\" is no option, and smscan takes nothing else. A file's name stands behind --output.",
                word.c_str()));
        return true;
    }

private:
    void readLong(const std::string& word, Options& options) {
        const size_t equals = word.find('=');
        const std::string name = word.substr(2, equals - 2);
        const Option* const option = findOption(name);
        if (!option) refuseUnknown(word, name);
        if (equals == std::string::npos)
            return apply(*option, option->value ? valueOf(*option) : "", options);
        if (!option->value) refuse(format("--%s takes no value.", option->name));
        apply(*option, word.substr(equals + 1), options);
    }

    // "-q", "-qm gray", "-mgray"
    void readLetters(const std::string& word, Options& options) {
        const std::string letters = word.substr(1);
        if (letters.size() > 1 && findOption(letters)) refuseUnknown(word, letters);
        for (size_t i = 0; i < letters.size(); ++i) {
            const Option* const option = findOption(letters[i]);
            if (!option) refuseUnknown(word, letters);
            if (option->value) {
                const bool joined = i + 1 < letters.size();
                return apply(*option, joined ? letters.substr(i + 1) : valueOf(*option), options);
            }
            apply(*option, "", options);
        }
    }

    // The next word, unless that is an option itself.
    std::string valueOf(const Option& option) {
        if (place_ == words_.size() || isOption(words_[place_])) refuseEmpty(option);
        return words_[place_++];
    }

    static bool isOption(const std::string& word) {
        if (word.compare(0, 2, "--") == 0) return findOption(word.substr(2, word.find('=') - 2)) != nullptr;
        return word.size() == 2 && word[0] == '-' && findOption(word[1]);
    }

    [[noreturn]] static void refuseEmpty(const Option& option) {
        refuse(format("--%s lacks its value: %s.", option.name, usageOf(option).c_str()));
    }

    static void apply(const Option& option, const std::string& value, Options& options) {
        if (option.value && value.empty()) refuseEmpty(option);
        if (option.apply)
            option.apply(options, value);
        else if (const std::string text = option.value ? value : "on";
                 !setRequestValue(options, option.name, text))
            setOutputValue(options.output, option.name, text);
    }

    const std::vector<std::string>& words_;
    size_t place_ = 0;
};

void checkTogether(const Options& options) {
    checkRequest(options);
    if (options.select && !options.source.empty())
        refuse("--select and --source exclude each other: both choose the source.");
    const bool asksMore = options.survey || options.surveyModes;
    if (options.recording.empty() && (asksMore || options.pixels != record::PixelPolicy::Keep))
        refuse("--survey, --survey-modes and --pixels go with --record FILE.");
    if (asksMore && options.select) refuse("--survey takes --source NAME, not --select.");
    const bool unsettable = options.bitDepth || options.scale || options.paper || options.area ||
                            options.feeder || options.threshold || options.gamma ||
                            !options.switches.empty() || options.mechanism ||
                            options.action == Action::DryRun;
    if (options.oneShot && unsettable)
        refuse(
            "--presto takes --mode, --resolution, --brightness, --contrast, --highlight, --shadow, --pages, "
            "--ui, --output and what goes with it only.");
}

}  // namespace

Options parseOptions(const std::vector<std::string>& words) {
    Options options;
    WordReader reader(words);
    while (reader.next(options)) {
    }
    if (options.action < Action::Version) checkTogether(options);
    chooseDefaultOutput(options.output);
    return options;
}

}  // namespace smscan
