// Figures and sets as Python holds them. All of it belongs to whoever has the interpreter's lock, since it asks the
// module, which is for one thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/figures/FigureIndex.h"
#include "host/figures/Parameters.h"
#include "host/figures/Session.h"
#include "host/measure/Region.h"
#include "host/sets/RoiSet.h"

namespace host::python {

/// The one session of the process, begun by the first call. It never ends, so that figures may go after it, in any
/// order.
const Session& TheSession();

class SetHandle;

/// A figure, alone or in a set. There is one handle at most of a figure, so that what it remembers holds.
class FigureHandle {
  public:
    explicit FigureHandle(Figure figure) : m_figure(std::move(figure)) {}

    const Figure& Get() const noexcept { return m_figure; }

    /// The set that the figure is in, or null.
    const std::shared_ptr<SetHandle>& Owner() const noexcept { return m_owner; }

    /// As ReadParameters gives them, asked once after every change.
    const std::vector<NamedValue>& Values();
    void SetValues(std::span<const Assignment> assignments);
    /// Renames a figure that is in no set. Throws Error for a bad name.
    void Rename(const std::string& name);
    /// To be called by whatever changes the figure in another way.
    void Forget() noexcept;

  private:
    friend class SetHandle;

    std::shared_ptr<SetHandle> m_owner;
    Figure m_figure;
    std::optional<std::vector<NamedValue>> m_values;
};

/// A set, and the handles that Python has of its figures.
class SetHandle : public std::enable_shared_from_this<SetHandle> {
  public:
    explicit SetHandle(RoiSet set = {}) : m_set(std::move(set)) {}

    const RoiSet& Get() const noexcept { return m_set; }

    /// The figure of that name. Throws Error, with the nearest name, when there is none.
    std::shared_ptr<FigureHandle> At(const std::string& name);
    /// As RoiSet does it.
    std::shared_ptr<FigureHandle> Add(Figure figure);
    void Rename(const std::string& name, const std::string& newName);
    /// Figures that Python has handles of live on alone.
    void Remove(std::span<const std::string> names);

    /// The names of the figures that hold a point, the topmost first. Looks through the figures' boxes, which are kept
    /// until one changes.
    std::vector<std::string> Holding(ImagePoint point, PixelRule rule);

  private:
    friend class FigureHandle;

    RoiSet m_set;
    std::optional<FigureIndex> m_index;
    std::unordered_map<std::string, std::weak_ptr<FigureHandle>> m_handles;
};

/// Figures as bytes, and back from them. Throws Error for what is no such text.
std::string Pickled(const std::vector<Figure>& figures);
RoiSet Unpickled(const std::string& state);
/// Copies that share nothing with the originals but what the framework shares.
RoiSet CopyOf(const std::vector<Figure>& figures);

}  // namespace host::python
