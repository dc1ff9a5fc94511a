#include "host/base/Silence.h"

#include <fcntl.h>
#include <unistd.h>

#include <mutex>

namespace host {

namespace {

std::mutex gMutex;
int gSilences = 0;
// Standard error as it was before the first Silence; -1 while there is none.
int gSpared = -1;

}  // namespace

Silence::Silence() noexcept {
    const std::lock_guard lock(gMutex);
    if (gSilences++ > 0) {
        return;
    }
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    gSpared = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (gSpared >= 0 && nowhere >= 0) {
        dup2(nowhere, STDERR_FILENO);
    }
    if (nowhere >= 0) {
        close(nowhere);
    }
}

Silence::~Silence() {
    const std::lock_guard lock(gMutex);
    if (--gSilences == 0 && gSpared >= 0) {
        dup2(gSpared, STDERR_FILENO);
        close(gSpared);
        gSpared = -1;
    }
}

int StandardError() noexcept {
    const std::lock_guard lock(gMutex);
    return gSpared >= 0 ? gSpared : STDERR_FILENO;
}

}  // namespace host
