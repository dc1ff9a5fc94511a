// What ties a figure's queries together.
#pragma once

#include "check/Scenario.h"

/// Checks that nodes, boxes and hits follow from the few values that a figure is made of, whatever brought it there.
/// Values that are not numbers or far beyond any picture are left alone.
void CheckRules(Checks& checks, const ClassContract& figure, const SmartPtr<IROI>& roi);
