// Which figures of many may hold a point.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "host/base/Text.h"
#include "host/figures/Figure.h"

namespace host {

/// An index over the boxes of figures as they are when it is made: a box holds all that a figure's outline encloses,
/// the line of a profile, and all that the module's hit test and mask accept. The figures need not stay.
class FigureIndex {
  public:
    explicit FigureIndex(std::span<const Figure> figures);
    FigureIndex(FigureIndex&& other) noexcept;
    FigureIndex& operator=(FigureIndex&& other) noexcept;
    ~FigureIndex();

    /// The figures, by their places from 0 in ascending order, in whose boxes a point lies or from which it is no
    /// farther than `reach` pixels along either axis. Nothing else can hold it or pass as near; figures whose boxes are
    /// not numbers are always among them.
    std::vector<std::size_t> At(ImagePoint point, double reach = 0.0) const;

  private:
    struct Boxes;
    std::unique_ptr<const Boxes> m_boxes;
};

}  // namespace host
