// The command `roi`: reads the command line, runs one subcommand, and turns whatever goes wrong into one
// line on standard error and an exit code.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <new>
#include <sstream>

#include "host/Commands.h"
#include "host/Error.h"
#include "host/SafeFile.h"
#include "host/Text.h"

namespace {

void AddCommands(CLI::App& roi) {
    AddClassesCommand(roi);
    AddAddCommand(roi);
    AddSetCommand(roi);
    AddListCommand(roi);
    AddRemoveCommand(roi);
    AddNodesCommand(roi);
    AddDragCommand(roi);
    AddPointCommand(roi);
    AddHitCommand(roi);
    AddMeasureCommand(roi);
    AddDrawCommand(roi);
    AddMaskCommand(roi);
    AddProfileCommand(roi);
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

Error AsUsageError(const CLI::App& roi, const CLI::ParseError& failure) {
    std::string command = "roi";
    for (const CLI::App* parsed : roi.get_subcommands()) {
        command += ' ' + parsed->get_name();
    }
    return UsageError("usage", command, fmt::format("{}; see {} --help", failure.what(), command));
}

void Run(CLI::App& roi, int argc, char** argv) {
    if (argc > 1) {
        CheckCommandName(roi, argv[1]);
    }
    try {
        roi.parse(argc, argv);
    } catch (const CLI::Success& request) {  // --help and --version
        std::ostringstream text;
        roi.exit(request, text, text);
        WriteStdout(text.str());
    } catch (const CLI::RuntimeError&) {  // a command's answer
        throw;
    } catch (const CLI::ParseError& failure) {
        throw AsUsageError(roi, failure);
    }
}

int Complain(const char* text, int exitCode) {
    fmt::print(stderr, "roi: error: {}\n", text);
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        CLI::App roi("Places, edits and measures regions of interest on images.", "roi");
        roi.footer(
            "Exit codes:\n"
            "  0  done\n"
            "  1  the answer is no, or the work failed\n"
            "  2  the command line asks for something that does not exist\n"
            "Each command has its own --help with an example.");
        roi.set_version_flag("--version", "roi " ROI_VERSION);
        AddCommands(roi);
        Run(roi, argc, argv);
        return kExitDone;
    } catch (const CLI::RuntimeError& answer) {
        return answer.get_exit_code();
    } catch (const Error& error) {
        return Complain(error.what(), error.Code());
    } catch (const std::bad_alloc&) {
        return Complain("out of memory: roi: the machine has no more to give", kExitFailed);
    } catch (const std::exception& error) {
        return Complain(Error("failed", "roi", error.what()).what(), kExitFailed);
    }
}
