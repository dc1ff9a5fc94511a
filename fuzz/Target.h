// What the fuzzing targets share: a session with the modules, what is checked after each input, and
// parameter lists as plain values.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "contract/Components.h"
#include "framework/support/FolderStream.h"
#include "fuzz/Input.h"
#include "host/figures/Session.h"

/// Ends the process, which is how a target reports a finding, unless the condition holds.
#define REQUIRE(condition) ((condition) ? static_cast<void>(0) : Fail(#condition, __FILE__, __LINE__))
[[noreturn]] void Fail(const char* condition, const char* file, int line) noexcept;

/// The module and its siblings, loaded before the first input. From then on the current directory is the
/// folder of the program.
const host::Session& Modules();

/// Requires at its end that the siblings have as many objects alive as at its beginning.
class NothingLeft {
  public:
    NothingLeft() : m_before(Alive()) {}
    ~NothingLeft() { REQUIRE(Alive() == m_before); }
    NothingLeft(const NothingLeft&) = delete;
    NothingLeft& operator=(const NothingLeft&) = delete;

  private:
    static int Alive();

    int m_before;
};

/// Equal in bits, except that one NaN is as good as another.
bool Same(double a, double b) noexcept;

inline tagREFString Record(std::wstring_view text) noexcept { return {static_cast<int>(text.size()), text.data()}; }

/// What a parameter list holds under a name: a variant with a number, or a string.
struct Named {
    std::wstring name;
    std::variant<int, double, std::wstring> value;

    double Number() const noexcept;
};
std::vector<Named> EntriesOf(INamedCollection& list);
SmartPtr<INamedCollection> ListOf(const std::vector<Named>& entries);
/// Names and values equal, as Same has it.
bool Same(const std::vector<Named>& a, const std::vector<Named>& b) noexcept;

/// A block of an archive.
inline FolderArchive::Block BlockOf(std::string_view bytes) { return {bytes.begin(), bytes.end()}; }
