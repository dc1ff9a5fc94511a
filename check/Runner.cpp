#include "check/Runner.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <thread>

#include "check/TestedModule.h"

namespace {

constexpr std::array kGroups = {
    CheckGroup{"exports", "the exported symbols and the two entry points", CheckExports},
    CheckGroup{"identities", "what every class answers and refuses", CheckIdentities},
    CheckGroup{"slots", "every operation, called by its number", CheckSlots},
    CheckGroup{"references", "reference counts, and that nothing stays behind", CheckReferences},
    CheckGroup{"pages", "property pages", CheckPages},
    CheckGroup{"parameters", "names, order, kinds, defaults and units of parameters", CheckParameters},
    CheckGroup{"persistence", "saving and loading through every kind of stream", CheckPersistence},
    CheckGroup{"transforms", "mapping figures and copying them", CheckTransforms},
    CheckGroup{"masks", "mask images against the hit test", CheckMasks},
    CheckGroup{"boxes", "nodes, drags, hits and boxes of rectangle, mask and parallelogram", CheckBoxes},
    CheckGroup{"rounds", "the same of ellipse, donut and arc donut", CheckRounds},
    CheckGroup{"profiles", "the same of the profile", CheckProfiles},
    CheckGroup{"siblings", "what figures ask of the framework, and that they stand its failures", CheckSiblings},
    CheckGroup{"alone", "the module where no framework is found", CheckAlone, Siblings::kAbsent},
    CheckGroup{"sequences", "random calls with absurd arguments", CheckSequences},
};

// CheckProgress that outlives the child.
class SharedProgress {
  public:
    SharedProgress()
        : m_memory(mmap(nullptr, sizeof(CheckProgress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (m_memory == MAP_FAILED) {
            throw std::runtime_error(fmt::format("no shared memory: {}", std::strerror(errno)));
        }
        new (m_memory) CheckProgress;
    }
    ~SharedProgress() { munmap(m_memory, sizeof(CheckProgress)); }
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;

    CheckProgress& operator*() const noexcept { return *static_cast<CheckProgress*>(m_memory); }
    CheckProgress* operator->() const noexcept { return static_cast<CheckProgress*>(m_memory); }

  private:
    void* m_memory;
};

// A folder without anything in it, which becomes the current one; it goes with this.
class EmptyFolder {
  public:
    EmptyFolder() {
        if (mkdtemp(m_path) == nullptr || chdir(m_path) != 0) {
            throw std::runtime_error(fmt::format("no empty folder: {}", std::strerror(errno)));
        }
    }
    ~EmptyFolder() { rmdir(m_path); }
    EmptyFolder(const EmptyFolder&) = delete;
    EmptyFolder& operator=(const EmptyFolder&) = delete;

  private:
    char m_path[32] = "/tmp/roi-alone-XXXXXX";
};

// The life of the child: it does not return.
[[noreturn]] void RunInChild(const char* group, const std::function<void(CheckProgress&)>& body,
                             CheckProgress& progress) {
    // What modules print is talk. A crash is told by the parent, and leaves no core behind.
    dup2(STDERR_FILENO, STDOUT_FILENO);
    constexpr rlimit kNone = {0, 0};
    setrlimit(RLIMIT_CORE, &kNone);
    const auto fail = [&](std::string_view expected, std::string_view got) {
        ++progress.failed;
        TellFailure(group, progress.sentence, expected, got);
    };
    try {
        body(progress);
    } catch (const CheckFailed& failure) {
        fail(failure.expected, failure.got);
    } catch (const std::exception& error) {
        fail("to go on", error.what());
    }
    progress.finished = true;
    std::exit(0);  // The module is unloaded too, and must stand it.
}

// How a child ended, and whether it had to be made to.
struct End {
    int status = 0;
    bool killed = false;
};

std::string EndText(const End& end, const CheckOptions& options) {
    if (end.killed) {
        return fmt::format("none within {} s", options.secondsPerGroup);
    }
    if (WIFSIGNALED(end.status)) {
        return fmt::format("signal {} ({})", WTERMSIG(end.status), strsignal(WTERMSIG(end.status)));
    }
    return fmt::format("the end of the process with exit code {}", WEXITSTATUS(end.status));
}

// A module may ignore every signal but one.
End WaitFor(pid_t child, std::chrono::seconds most) {
    const auto limit = std::chrono::steady_clock::now() + most;
    End end;
    while (waitpid(child, &end.status, WNOHANG) == 0) {
        if (!end.killed && std::chrono::steady_clock::now() > limit) {
            end.killed = true;
            kill(child, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return end;
}

}  // namespace

std::span<const CheckGroup> CheckGroups() noexcept { return kGroups; }

CheckCounts RunGroup(const CheckGroup& group, const std::string& module, const CheckOptions& options) {
    return RunApart(group.name, options, [&](CheckProgress& progress) {
        const bool alone = group.siblings == Siblings::kAbsent;
        const auto nowhere = alone ? std::make_unique<EmptyFolder>() : nullptr;
        TestedModule tested(module);
        if (!alone) {
            tested.GiveFramework();
        }
        Checks checks(group.name, options, tested, progress);
        group.run(checks);
    });
}

CheckCounts RunApart(const char* group, const CheckOptions& options, const std::function<void(CheckProgress&)>& body) {
    const SharedProgress progress;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error(fmt::format("no process for {}: {}", group, std::strerror(errno)));
    }
    if (child == 0) {
        RunInChild(group, body, *progress);
    }
    const End end = WaitFor(child, std::chrono::seconds(options.secondsPerGroup));
    CheckCounts counts = {progress->passed, progress->failed};
    if (!progress->finished) {
        ++counts.failed;
        TellFailure(group, progress->sentence, "a return", EndText(end, options));
    } else if (end.status != 0) {
        ++counts.failed;
        TellFailure(group, "the module is unloaded", "the end of the process", EndText(end, options));
    } else if (counts.passed + counts.failed == 0) {
        ++counts.failed;
        TellFailure(group, "the group checks something", "at least one check", "none");
    }
    return counts;
}
