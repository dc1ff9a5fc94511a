#include "python/src/Handles.h"

#include <algorithm>
#include <new>

#include "host/sets/SetFile.h"

namespace host::python {

const Session& TheSession() {
    static const auto* const session = new Session();
    return *session;
}

const std::vector<NamedValue>& FigureHandle::Values() {
    if (!m_values) {
        m_values = ReadParameters(m_figure);
    }
    return *m_values;
}

void FigureHandle::SetValues(std::span<const Assignment> assignments) {
    Forget();
    SetParameters(m_figure, assignments);
}

void FigureHandle::Forget() noexcept {
    m_values.reset();
    if (m_owner) {
        m_owner->m_index.reset();
    }
}

void FigureHandle::Rename(const std::string& name) {
    CheckFigureName(name);
    m_figure.name = name;
}

std::shared_ptr<FigureHandle> SetHandle::At(const std::string& name) {
    std::weak_ptr<FigureHandle>& known = m_handles[m_set.At(name).name];
    std::shared_ptr<FigureHandle> handle = known.lock();
    if (!handle) {
        handle = std::make_shared<FigureHandle>(m_set.At(name));
        handle->m_owner = shared_from_this();
        known = handle;
    }
    return handle;
}

std::shared_ptr<FigureHandle> SetHandle::Add(Figure figure) {
    m_index.reset();
    return At(m_set.Add(std::move(figure)).name);
}

void SetHandle::Rename(const std::string& name, const std::string& newName) {
    const std::shared_ptr<FigureHandle> handle = At(name);
    m_set.Rename(name, newName);
    m_handles.erase(name);
    m_handles[newName] = handle;
    handle->m_figure.name = newName;
}

void SetHandle::Remove(std::span<const std::string> names) {
    m_set.Remove(names);
    m_index.reset();
    for (const std::string& name : names) {
        const auto known = m_handles.find(name);
        if (known == m_handles.end()) {
            continue;
        }
        // The set outlives this: whoever calls holds it.
        if (const auto handle = known->second.lock()) {
            handle->m_owner.reset();
        }
        m_handles.erase(known);
    }
}

std::vector<std::string> SetHandle::Holding(ImagePoint point, PixelRule rule) {
    const std::vector<Figure>& figures = m_set.Figures();
    if (!m_index) {
        m_index.emplace(figures);
    }
    std::vector<std::string> names;
    for (const std::size_t i : m_index->At(point)) {
        if (HoldsPoint(figures[i], point, rule)) {
            names.push_back(figures[i].name);
        }
    }
    std::reverse(names.begin(), names.end());
    return names;
}

std::string Pickled(const std::vector<Figure>& figures) { return WriteFolderSet(figures); }

RoiSet Unpickled(const std::string& state) {
    try {
        return ReadFolderSet(TheSession(), state);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        throw Error("broken pickle", "figures", failure.what());
    }
}

RoiSet CopyOf(const std::vector<Figure>& figures) { return UnpackFigures(TheSession(), PackFigures(figures)); }

}  // namespace host::python
