// Sorting what is nearly in order already.
#pragma once

namespace host {

/// Moves each element to its place, past those before it that it belongs in front of: in a time that grows with their
/// number and with how far they have to go, so it is for what is nearly in order, or for little. Equal ones keep their
/// order.
template <class Iterator, class Before>
void SortNearlySorted(Iterator begin, Iterator end, Before isBefore) {
    for (Iterator next = begin; next != end; ++next) {
        const auto moved = *next;
        Iterator to = next;
        for (; to != begin && isBefore(moved, to[-1]); --to) {
            *to = to[-1];
        }
        *to = moved;
    }
}

}  // namespace host
