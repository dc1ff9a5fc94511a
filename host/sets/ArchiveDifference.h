// In which blocks two archives differ.
#pragma once

#include <iterator>

#include "framework/support/FolderStream.h"

namespace host {

/// Calls `tell` with the path of every block that `here` lacks or has otherwise than `there`, and with that of `there`,
/// or with null for one that only `here` has. In the order of the paths.
template <class Tell>
void ForEachDifference(const FolderArchive& here, const FolderArchive& there, Tell tell) {
    auto one = here.Blocks().begin();
    auto other = there.Blocks().begin();
    const auto oneEnd = here.Blocks().end();
    const auto otherEnd = there.Blocks().end();
    while (one != oneEnd || other != otherEnd) {
        const int order = one == oneEnd ? 1 : other == otherEnd ? -1 : one->first.compare(other->first);
        if (order < 0) {
            tell(one->first, nullptr);
        } else if (order > 0 || one->second != other->second) {
            tell(other->first, &other->second);
        }
        one = order <= 0 ? std::next(one) : one;
        other = order >= 0 ? std::next(other) : other;
    }
}

}  // namespace host
