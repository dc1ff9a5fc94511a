// The groups of checks, one source each. Every one is run in a process of its own, so that a crash or a
// hang ends that group and no other.
#pragma once

#include <span>

#include "check/Checks.h"

void CheckExports(Checks& checks);
void CheckIdentities(Checks& checks);
void CheckSlots(Checks& checks);
void CheckReferences(Checks& checks);
void CheckPages(Checks& checks);
void CheckParameters(Checks& checks);
void CheckPersistence(Checks& checks);
void CheckTransforms(Checks& checks);
void CheckMasks(Checks& checks);
void CheckBoxes(Checks& checks);
void CheckRounds(Checks& checks);
void CheckProfiles(Checks& checks);
void CheckSiblings(Checks& checks);
void CheckAlone(Checks& checks);
void CheckSequences(Checks& checks);

/// Whether the framework's modules are within reach of the module under test.
enum class Siblings { kPresent, kAbsent };

struct CheckGroup {
    const char* name;
    const char* what;
    void (*run)(Checks& checks);
    Siblings siblings = Siblings::kPresent;
};

/// All groups, in the order in which they run.
std::span<const CheckGroup> CheckGroups() noexcept;
