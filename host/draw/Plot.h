// Curves drawn with gnuplot, to be looked at.
#pragma once

#include <string>
#include <vector>

#include "host/base/UserPath.h"
#include "host/measure/Histogram.h"
#include "host/measure/ProfileCurve.h"

namespace host {

/// Throws a usage error unless the path ends in .svg or .png.
void CheckPlotEnding(const UserPath& path);

/// Draws the curve of a profile, with the deviation as a band around the mean. Throws Error when gnuplot is missing or
/// fails, when no point has a sample, and when the file cannot be written.
void PlotCurve(const std::vector<CurvePoint>& curve, const std::string& title, const UserPath& path);

struct NamedHistogram {
    std::string name;
    Histogram histogram;
};

/// Draws at least one histogram, one above the other. Throws Error as PlotCurve does.
void PlotHistograms(const std::vector<NamedHistogram>& histograms, const std::string& title, const UserPath& path);

}  // namespace host
