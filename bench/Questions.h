// The questions that the benchmarks answer, one to a file, and the figures they are asked of.
#pragma once

#include "contract/IROI.h"
#include "host/figures/Session.h"

/// How fast is a point told to be inside or outside a figure?
void AddHitTests(const host::Session& session);
/// How fast are sizes asked for and nodes dragged?
void AddGeometry(const host::Session& session);
/// What do creating, copying and asking for an interface cost beside what the language does itself?
void AddObjects(const host::Session& session);
/// What do named values and persistence cost beside containers and the libraries underneath?
void AddParameters(const host::Session& session);
/// How fast are masks drawn?
void AddMasks(const host::Session& session);
/// How fast are the pixels inside outlines found, and how much of each?
void AddRegions(const host::Session& session);
/// How fast is an image measured, by the host's parts and by its command?
void AddImages(const host::Session& session);

/// A new figure by one of its interfaces.
template <class Interface>
SmartPtr<Interface> NewFigure(const host::Session& session, const char* className) {
    return SmartPtr<Interface>::QueryFrom(session.Create("figure", className).roi.Get());
}

struct Point {
    double x = 0.0;
    double y = 0.0;
};
