#include "check/Runner.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

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
    CheckGroup{"nodes", "where nodes lie and what dragging them does", CheckNodes},
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

// The life of the child: it does not return.
[[noreturn]] void RunInChild(const char* group, const CheckOptions& options,
                             const std::function<void(CheckProgress&)>& body, CheckProgress& progress) {
    // What modules print is talk. A crash is told by the parent, and leaves no core behind.
    dup2(STDERR_FILENO, STDOUT_FILENO);
    constexpr rlimit kNone = {0, 0};
    setrlimit(RLIMIT_CORE, &kNone);
    std::signal(SIGALRM, SIG_DFL);
    alarm(static_cast<unsigned>(options.secondsPerGroup));
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
    std::fflush(nullptr);
    _exit(0);
}

// What became of a child that did not finish.
std::string EndOf(int status, const CheckOptions& options) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
        return fmt::format("none within {} s", options.secondsPerGroup);
    }
    if (WIFSIGNALED(status)) {
        return fmt::format("signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
    }
    return fmt::format("the end of the process with exit code {}", WEXITSTATUS(status));
}

int WaitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

}  // namespace

std::span<const CheckGroup> CheckGroups() noexcept { return kGroups; }

CheckCounts RunGroup(const CheckGroup& group, const std::string& module, const CheckOptions& options) {
    return RunApart(group.name, options, [&](CheckProgress& progress) {
        TestedModule tested(module);
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
        RunInChild(group, options, body, *progress);
    }
    const int status = WaitFor(child);
    CheckCounts counts = {progress->passed, progress->failed};
    if (!progress->finished) {
        ++counts.failed;
        TellFailure(group, progress->sentence, "a return", EndOf(status, options));
    } else if (counts.passed + counts.failed == 0) {
        ++counts.failed;
        TellFailure(group, "the group checks something", "at least one check", "none");
    }
    return counts;
}
