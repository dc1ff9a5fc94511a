// Parameters as a table: a class says which values of its state have which names; listing, reading and storing
// them are loops over the rows.
#pragma once

#include "runtime/ParameterList.h"

/// One row of a class's parameter table: how a value of the class's state appears in a list. Angles are
/// radians in every object and degrees in every list, so both functions speak the list's units.
template <class State>
struct Parameter {
    tagREFString name;
    double (*read)(const State& state) noexcept;
    void (*write)(State& state, double value) noexcept;
    int presentationKind = 0;
};

/// The row of a double member that appears as it is stored:
/// Stored<Ellipse, &Ellipse::centerX>(Text(L"CenterX")).
template <class State, auto Member>
constexpr Parameter<State> Stored(tagREFString name, int presentationKind = 0) noexcept {
    return {name, [](const State& state) noexcept -> double { return state.*Member; },
            [](State& state, double value) noexcept { state.*Member = value; }, presentationKind};
}

/// Appends rows to a list, in order.
template <class Table, class State>
void AddParameters(ParameterWriter& list, const Table& table, const State& state) noexcept {
    for (const auto& row : table) {
        list.Add(row.name, row.read(state), row.presentationKind);
    }
}

/// Hands out a new list that holds the rows of a table, in order; see IParametricObject::GetParameters.
template <class Table, class State>
Result HandOutParameters(const Table& table, const State& state, INamedCollection** out) noexcept {
    ParameterWriter list;
    AddParameters(list, table, state);
    return list.HandOut(out);
}

/// Reads one row as a variant; a missing or unusable value leaves the state alone.
template <class State>
void ReadVariantRow(ParameterReader& list, const Parameter<State>& row, State& state) noexcept {
    double value = 0.0;
    if (list.Variant(row.name, &value) == Lookup::kRead) {
        row.write(state, value);
    }
}

/// Reads one row as a variant or a text.
template <class State>
void ReadNumberRow(ParameterReader& list, const Parameter<State>& row, State& state) noexcept {
    double value = 0.0;
    if (list.Number(row.name, &value) == Lookup::kRead) {
        row.write(state, value);
    }
}

/// The frame of every SetParameters: `read(list, state)` fills a copy of the state, which is kept only
/// when the framework gave all that reading takes. E_INVALIDARG for a null list.
template <class State, class Read>
Result StoreParameters(INamedCollection* parameters, State& state, Read read) noexcept {
    if (parameters == nullptr) {
        return E_INVALIDARG;
    }
    State edited = state;
    ParameterReader list(*parameters);
    read(list, edited);
    if (Succeeded(list.Outcome())) {
        state = edited;
    }
    return list.Outcome();
}
