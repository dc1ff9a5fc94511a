// What the thread that owns the module works on: the session, the set, and what is known of its changes.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/figures/Session.h"
#include "host/measure/Workers.h"
#include "host/sets/OpenSet.h"
#include "workbench/FigureText.h"
#include "workbench/Hits.h"
#include "workbench/Revisions.h"

namespace host::workbench {

class Desk {
  public:
    /// `changed` is called after every change of the set. Throws Error for a set that cannot be read.
    Desk(const UserPath& set, std::function<void(const Desk&)> changed);

    const Session& TheSession() const noexcept { return m_session; }
    OpenSet& File() noexcept { return m_file; }
    const OpenSet& File() const noexcept { return m_file; }
    const RoiSet& Set() const noexcept { return m_file.Set(); }
    const Revisions& History() const noexcept { return m_revisions; }

    /// A figure's place in the set; the end for one that is not there.
    std::size_t PlaceOf(const std::string& name) const;

    /// The places of the figures that changed or came after a revision, rising.
    std::vector<std::size_t> NewSince(std::int64_t revision) const;
    /// `"revision":..,"figures":[..],"removed":[..]`, and `"order"` where it changed: what is new since a revision,
    /// with nodes.
    std::string ChangesSince(std::int64_t revision, double tolerance) const;

    /// The figures below a point; see Hits.
    std::vector<std::string> HitsAt(ImagePoint at, double tolerance);

  private:
    Session m_session;
    std::function<void(const Desk&)> m_changed;
    OpenSet m_file;
    Revisions m_revisions;
    Hits m_hits;
};

/// The one thread that ever calls the module. Requests wait for it, first come first served.
class ModuleThread {
  public:
    /// Makes the desk. Throws what that throws.
    ModuleThread(const UserPath& set, std::function<void(const Desk&)> changed);
    ~ModuleThread();
    ModuleThread(const ModuleThread&) = delete;
    ModuleThread& operator=(const ModuleThread&) = delete;

    /// Calls a function on the thread and waits for what it gives or throws.
    template <class Function>
    auto Ask(Function function) -> decltype(function(std::declval<Desk&>())) {
        return m_thread.Run([&] { return function(*m_desk); }).get();
    }

  private:
    std::unique_ptr<Desk> m_desk;
    Workers m_thread{1};
};

}  // namespace host::workbench
