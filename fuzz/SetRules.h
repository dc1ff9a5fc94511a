// What holds of every set file, in either form.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/Target.h"
#include "host/sets/SetFile.h"

/// A file is refused with a reason, or the set that was read from it can be saved and read again, with
/// figures of the same names and classes in the same order. (Not with the very same values: degrees turn
/// into radians and back, and a parallelogram that leans far is changed by its own loading.)
template <class Read, class Write>
void LoadAndSave(const std::string& bytes, Read read, Write write) {
    host::RoiSet set;
    try {
        set = read(Modules(), bytes);
    } catch (const std::exception& refusal) {
        REQUIRE(refusal.what()[0] != '\0');
        return;
    }
    const std::vector<host::Figure>& figures = set.Figures();
    for (const host::Figure& figure : figures) {
        host::LostInXML(figure);
    }
    // What is thrown from here on ends the process.
    const host::RoiSet again = read(Modules(), write(figures));
    REQUIRE(
        std::equal(figures.begin(), figures.end(), again.Figures().begin(), again.Figures().end(),
                   [](const host::Figure& a, const host::Figure& b) { return a.name == b.name && a.type == b.type; }));
}
