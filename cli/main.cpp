// The command `roi`: reads the command line, runs one subcommand, and turns whatever goes wrong into one
// line on standard error and an exit code.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <sstream>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/Memory.h"
#include "host/base/ModuleTrial.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"

namespace host::cli {

namespace {

struct Command {
    const char* name;
    void (*add)(CLI::App& roi);
};

// In the order of the help.
constexpr Command kCommands[] = {
    {"classes", AddClassesCommand},     {"add", AddAddCommand},         {"set", AddSetCommand},
    {"list", AddListCommand},           {"remove", AddRemoveCommand},   {"nodes", AddNodesCommand},
    {"drag", AddDragCommand},           {"point", AddPointCommand},     {"hit", AddHitCommand},
    {"transform", AddTransformCommand}, {"clone", AddCloneCommand},     {"convert", AddConvertCommand},
    {"measure", AddMeasureCommand},     {"draw", AddDrawCommand},       {"mask", AddMaskCommand},
    {"labels", AddLabelsCommand},       {"profile", AddProfileCommand}, {"open", AddOpenCommand},
    {"histogram", AddHistogramCommand}, {"export", AddExportCommand},   {"import", AddImportCommand},
    {"undo", AddUndoCommand},           {"redo", AddRedoCommand},       {"log", AddLogCommand},
    {"check", AddCheckCommand},         {"manual", AddManualCommand},   {"completion", AddCompletionCommand}};

// A command that tells of all others, or a word that names none, takes all of them. Else the one is enough: many run
// for less time than it takes to set the others up.
void AddCommands(CLI::App& roi, const std::string& word) {
    const bool tellsOfAll = word == "manual" || word == "completion";
    const auto named =
        std::find_if(std::begin(kCommands), std::end(kCommands), [&](const Command& one) { return one.name == word; });
    if (named != std::end(kCommands) && !tellsOfAll) {
        named->add(roi);
    } else {
        std::for_each(std::begin(kCommands), std::end(kCommands), [&](const Command& one) { one.add(roi); });
    }
    roi.require_subcommand(1);
}

// The parser would only say that some command is missing.
void CheckCommandName(const CLI::App& roi, const std::string& word) {
    std::vector<std::string> names;
    for (const CLI::App* command : roi.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    if (word.rfind('-', 0) != 0 && std::find(names.begin(), names.end(), word) == names.end()) {
        throw UnknownName("command", word, names);
    }
}

// A file whose name begins with a dash was taken for an option.
std::string DashHint(const std::vector<std::string>& words) {
    std::error_code failure;
    const auto isFile = [&](const std::string& word) {
        return word.starts_with('-') && std::filesystem::exists(word, failure);
    };
    const auto found = std::find_if(words.begin(), words.end(), isFile);
    return found == words.end() ? "" : "; a path that begins with a dash is written ./" + *found;
}

Error AsUsageError(const CLI::App& roi, const CLI::ParseError& failure, const std::vector<std::string>& words) {
    std::string command = "roi";
    for (const CLI::App* parsed : roi.get_subcommands()) {
        command += ' ' + parsed->get_name();
    }
    return UsageError("usage", command, fmt::format("{}{}; see {} --help", failure.what(), DashHint(words), command));
}

// The words after the program's name. The parser takes -.5 for an option, unlike -0.5.
std::vector<std::string> Words(int argc, char** argv) {
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    for (std::string& word : words) {
        if (word.starts_with("-.") && ParseNumber(word.substr(0, 3))) {
            word.insert(1, "0");
        }
    }
    return words;
}

void Run(CLI::App& roi, const std::vector<std::string>& words) {
    if (!words.empty()) {
        CheckCommandName(roi, words.front());
    }
    CommandLine() = fmt::format("{}", fmt::join(words, " "));
    try {
        roi.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // As the parser wants them.
    } catch (const CLI::Success& request) {                                 // --help and --version
        std::ostringstream text;
        roi.exit(request, text, text);
        WriteStdout(text.str());
    } catch (const CLI::RuntimeError&) {  // a command's answer
        throw;
    } catch (const CLI::ParseError& failure) {
        throw AsUsageError(roi, failure, words);
    }
}

// What a module ends that crashes as it is opened; a signal's handler, which may use no memory.
[[noreturn]] void EndByCrash(const char* file, int signal) {
    for (const char* part : {"roi: error: cannot use module: ", file, ": it crashed (", sigdescr_np(signal), ")\n"}) {
        Say(part);
    }
    _exit(kExitFailed);
}

int Fail(std::string_view line, int exitCode) {
    Complain(line);
    return exitCode;
}

}  // namespace

}  // namespace host::cli

int main(int argc, char** argv) {
    using namespace host::cli;
    using host::Error;
    using host::ErrorKind;
    host::KeepFreedMemory();
    if (!ROI_SANITIZE) {  // Sanitizers have reports of their own.
        host::ModuleTrial::ReportCrashes(EndByCrash);
    }
    try {
        CLI::App roi("Places, edits and measures regions of interest on images.", "roi");
        roi.footer(
            "Exit codes:\n"
            "  0  done\n"
            "  1  the answer is no, or the work failed\n"
            "  2  the command line asks for something that does not exist\n"
            "  7  some of many images failed; the rows of the others stand\n"
            "Each command has its own --help with an example.");
        roi.set_version_flag("--version", "roi " ROI_VERSION);
        const std::vector<std::string> words = Words(argc, argv);
        AddCommands(roi, words.empty() ? "" : words.front());
        Run(roi, words);
        return kExitDone;
    } catch (const CLI::RuntimeError& answer) {
        return answer.get_exit_code();
    } catch (const PartlyFailed& failure) {
        return Fail(failure.what(), kExitPartly);
    } catch (const Error& error) {
        return Fail(error.what(), error.Kind() == ErrorKind::usage ? kExitUsage : kExitFailed);
    } catch (const std::bad_alloc&) {
        Say("roi: error: out of memory: roi: the machine has no more to give\n");  // Takes no memory, unlike Fail.
        return kExitFailed;
    } catch (const std::exception& error) {
        return Fail(Error("failed", "roi", error.what()).what(), kExitFailed);
    }
}
