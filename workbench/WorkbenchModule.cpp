#include <pthread.h>

#include <csignal>

#include "workbench/Workbench.h"

namespace {

// The signals that end the workbench, held back in all threads that begin later: the main one waits for them.
sigset_t HeldSignals() noexcept {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&ending, signal);
    }
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    return ending;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] void RunWorkbench(const host::workbench::ServerOptions& options,
                                                            const std::function<void(const std::string&)>& started) {
    const sigset_t ending = HeldSignals();
    const host::workbench::Server server(options);
    started(server.Address());
    int signal = 0;
    sigwait(&ending, &signal);
}
