// roi check: validates a build of the module through its binary contract.
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <vector>

#include "check/ElfSymbols.h"
#include "check/Runner.h"
#include "check/SiblingChecks.h"
#include "cli/Commands.h"
#include "host/base/Text.h"
#include "host/figures/Session.h"

namespace host::cli {

namespace {

constexpr const char* kCheckDetails =
    R"(Loads a build of the module as any host would, knows nothing of it but its contract, and tries it in
groups, each in a process of its own: a crash or a hang is a failed check, and the other groups go on. What
fails is told on standard error; standard output has a line for every group and, last, the counts.

With --siblings, what is tried are a host's own siblings in the folder DIR: what each operation that the module
calls must do, and then the figures of MODULE over them. Without MODULE it is the ROI.so in DIR or, if there is
none, the one that lies beside roi.

)";

struct CheckCommand {
    UserPath module;
    UserPath siblings;
    std::vector<std::string> groups;
    CheckOptions options;
};

template <class Group>
std::string GroupList(const char* title, std::span<const Group> groups) {
    std::string list = title;
    for (const Group& group : groups) {
        list += fmt::format("  {:<13}{}\n", group.name, group.what);
    }
    return list + "\n";
}

// The groups asked for, in their own order; all of them when none is.
template <class Group>
std::vector<Group> ChosenGroups(std::span<const Group> groups, const std::vector<std::string>& names) {
    std::vector<Group> chosen;
    std::vector<std::string> known;
    for (const Group& group : groups) {
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

template <class Group, class RunOne>
CheckCounts Counted(const Group& group, RunOne run) {
    try {
        return run(group);
    } catch (const std::runtime_error& failure) {
        throw Error("cannot run checks", group.name, failure.what());
    }
}

// Runs groups one by one and tells of each as it ends.
template <class Group, class RunOne>
void RunAll(const std::vector<Group>& groups, RunOne run) {
    CheckCounts all;
    for (const Group& group : groups) {
        const CheckCounts counts = Counted(group, run);
        WriteStdout(fmt::format("{:<13}{:>7} passed, {} failed\n", group.name, counts.passed, counts.failed));
        all.passed += counts.passed;
        all.failed += counts.failed;
    }
    WriteStdout(fmt::format("{} passed, {} failed\n", all.passed, all.failed));
    if (all.failed > 0 || all.passed == 0) {
        AnswerNo();
    }
}

// The validator finds the framework's own siblings in the current directory.
void EnterModuleFolder() { std::filesystem::current_path(DefaultModuleFolder()); }

// Refuses what no loader would take, of whatever size.
std::string ModuleFile(const UserPath& module) {
    std::ifstream stream(module.Absolute(), std::ios::binary);
    char start[256];
    if (!stream.read(start, sizeof start) && stream.gcount() == 0) {
        throw Error("cannot read module", module.Typed(), stream.is_open() ? "nothing to read" : std::strerror(errno));
    }
    if (!BeginsAsSharedObject({start, static_cast<std::size_t>(stream.gcount())})) {
        throw Error("cannot check", module.Typed(), "no shared object for this processor");
    }
    return module.Absolute().string();
}

// The module whose figures are tried on siblings, when none is named.
UserPath ModuleAmong(const UserPath& siblings) {
    const std::filesystem::path beside = siblings.Absolute() / "ROI.so";
    return UserPath(std::filesystem::exists(beside) ? beside.string() : "./ROI.so");
}

void RunOnSiblings(const CheckCommand& command) {
    const auto groups = ChosenGroups(SiblingGroups(), command.groups);
    const std::filesystem::path folder = command.siblings.Absolute();
    std::error_code failure;
    const std::filesystem::directory_iterator entries(folder, failure);
    if (failure) {
        throw Error("cannot read siblings", command.siblings.Typed(), failure.message());
    }
    EnterModuleFolder();
    const std::string module =
        ModuleFile(command.module.Typed().empty() ? ModuleAmong(command.siblings) : command.module);
    RunAll(groups,
           [&](const SiblingGroup& group) { return RunSiblingGroup(group, folder.string(), module, command.options); });
}

void RunOnModule(const CheckCommand& command) {
    const auto groups = ChosenGroups(CheckGroups(), command.groups);
    EnterModuleFolder();
    const std::string module = ModuleFile(command.module.Typed().empty() ? UserPath("./ROI.so") : command.module);
    RunAll(groups, [&](const CheckGroup& group) { return RunGroup(group, module, command.options); });
}

}  // namespace

void AddCheckCommand(CLI::App& roi) {
    const auto settings = std::make_shared<CheckCommand>();
    CLI::App& command = AddCommand(roi, "check", "Validates a build of the module: everything a host relies on",
                                   "roi check --group sequences --seed 7 --repeat 5");
    command.footer(kCheckDetails + GroupList("Groups:\n", CheckGroups()) +
                   GroupList("Groups with --siblings:\n", SiblingGroups()) + command.get_footer());
    command.add_option("MODULE", settings->module, "The module; the ROI.so that lies beside roi without it")
        ->type_name("");
    command.add_option("--siblings", settings->siblings, "Try the sibling modules in this folder")->type_name("DIR");
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
    command.callback(
        [settings] { settings->siblings.Typed().empty() ? RunOnModule(*settings) : RunOnSiblings(*settings); });
}

}  // namespace host::cli
