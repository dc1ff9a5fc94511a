// Code of a module that may be broken: a crash there is told with the file's name, and not by a signal alone.
#pragma once

#include <string>
#include <utility>

namespace host {

/// Says, of the thread that makes it and for as long as it lives, that a module's code runs that never ran before: the
/// module is opened, or asked for what it makes. Trials nest; the innermost counts.
class ModuleTrial {
  public:
    explicit ModuleTrial(std::string file) : m_file(std::move(file)), m_outer(std::exchange(tFile, m_file.c_str())) {}
    ~ModuleTrial() { tFile = m_outer; }
    ModuleTrial(const ModuleTrial&) = delete;
    ModuleTrial& operator=(const ModuleTrial&) = delete;

    /// Has a program tell of modules that crash: from now on `report` gets the file and the signal, in the signal's
    /// handler, and must end the process. Whatever else crashes ends it as before. For programs alone to call, once.
    static void ReportCrashes(void (*report)(const char* file, int signal)) noexcept;

  private:
    static void OnSignal(int signal) noexcept;

    static thread_local const char* volatile tFile;  // null outside of trials
    std::string m_file;
    const char* m_outer;
};

}  // namespace host
