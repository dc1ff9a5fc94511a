#include "host/base/ModuleTrial.h"

#include <array>
#include <csignal>

namespace host {

namespace {

void (*gReport)(const char* file, int signal) = nullptr;

}  // namespace

thread_local constinit const char* volatile ModuleTrial::tFile = nullptr;

void ModuleTrial::OnSignal(int signal) noexcept {
    if (const char* const file = tFile) {
        gReport(file, signal);
    }
    std::raise(signal);  // The handler is gone by now: this does what it does by default.
}

void ModuleTrial::ReportCrashes(void (*report)(const char* file, int signal)) noexcept {
    gReport = report;
    // For a module that has used up the stack.
    static std::array<char, 1 << 16> stack;
    const stack_t reserve{stack.data(), 0, stack.size()};
    sigaltstack(&reserve, nullptr);
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_ONSTACK | SA_NODEFER | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
        sigaction(signal, &action, nullptr);
    }
}

}  // namespace host
