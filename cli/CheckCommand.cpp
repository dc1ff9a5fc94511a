// roi check: validates a build of the module through its binary contract.
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "check/Runner.h"
#include "cli/Commands.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"
#include "host/figures/Session.h"

namespace host::cli {

namespace {

const std::string kDetails =
    R"(Loads a build of the module as any host would, knows nothing of it but its contract, and tries it in
groups, each in a process of its own: a crash or a hang is a failed check, and the other groups go on. What
fails is told on standard error; standard output has a line for every group and, last, the counts.

)";

struct CheckCommand {
    UserPath module;
    std::vector<std::string> groups;
    CheckOptions options;
};

std::string GroupList() {
    std::string list = "Groups:\n";
    for (const CheckGroup& group : CheckGroups()) {
        list += fmt::format("  {:<13}{}\n", group.name, group.what);
    }
    return list + "\n";
}

// The groups asked for, in their own order; all of them when none is.
std::vector<CheckGroup> ChosenGroups(const std::vector<std::string>& names) {
    std::vector<CheckGroup> chosen;
    std::vector<std::string> known;
    for (const CheckGroup& group : CheckGroups()) {
        known.emplace_back(group.name);
        if (names.empty() || std::find(names.begin(), names.end(), group.name) != names.end()) {
            chosen.push_back(group);
        }
    }
    for (const std::string& name : names) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            throw UnknownName("group", name, known);
        }
    }
    return chosen;
}

CheckCounts Counted(const CheckGroup& group, const std::string& module, const CheckOptions& options) {
    try {
        return RunGroup(group, module, options);
    } catch (const std::runtime_error& failure) {
        throw Error("cannot run checks", group.name, failure.what());
    }
}

void Run(const CheckCommand& command) {
    const std::vector<CheckGroup> groups = ChosenGroups(command.groups);
    EnterModuleFolder();
    const bool own = command.module.Typed().empty();
    const UserPath module = own ? UserPath("./ROI.so") : command.module;
    ReadWholeFile("module", module);  // says why a file cannot be had
    CheckCounts all;
    for (const CheckGroup& group : groups) {
        const CheckCounts counts = Counted(group, module.Absolute().string(), command.options);
        WriteStdout(fmt::format("{:<13}{:>7} passed, {} failed\n", group.name, counts.passed, counts.failed));
        all.passed += counts.passed;
        all.failed += counts.failed;
    }
    WriteStdout(fmt::format("{} passed, {} failed\n", all.passed, all.failed));
    if (all.failed > 0 || all.passed == 0) {
        AnswerNo();
    }
}

}  // namespace

void AddCheckCommand(CLI::App& roi) {
    const auto settings = std::make_shared<CheckCommand>();
    CLI::App& command = AddCommand(roi, "check", "Validates a build of the module: everything a host relies on",
                                   "roi check --group sequences --seed 7 --repeat 5");
    command.footer(kDetails + GroupList() + command.get_footer());
    command.add_option("MODULE", settings->module, "The module; the ROI.so that lies beside roi without it")
        ->type_name("");
    command.add_option("--group", settings->groups, "Only this group; may be given again")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command.add_option("--seed", settings->options.seed, "Where random sequences start")
        ->type_name("N")
        ->capture_default_str();
    command.add_option("--repeat", settings->options.repeat, "Random sequences for each class")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000).description(""))
        ->capture_default_str();
    command.add_option("--time", settings->options.secondsPerGroup, "Seconds that a group may take")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 86400).description(""))
        ->capture_default_str();
    command.callback([settings] { Run(*settings); });
}

}  // namespace host::cli
