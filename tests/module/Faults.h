// Faults: the n-th call that reaches the framework fails, or the n-th allocation; once, or from then on.
// Calls are caught in the siblings' own operation tables, so the siblings themselves know nothing of it.
#pragma once

#include "Harness.h"

enum class FaultKind { kNone, kCall, kAllocation };

/// The first call or allocation to fail, counted from 1, and whether those after it fail too.
struct Fault {
    FaultKind kind = FaultKind::kNone;
    long first = 0;
    bool fromThenOn = false;
};
void PrintTo(const Fault& fault, std::ostream* out);

/// Puts a fault in force for as long as it lives.
class Armed {
  public:
    explicit Armed(const Fault& fault);
    ~Armed();
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;

    /// The calls that could have failed so far.
    static long Calls();
    /// Whether the fault came about.
    static bool Happened();
    /// Whether it may have hit a call whose result figures do not examine: something is missing then.
    static bool WasIgnored();
};

/// Catches the calls of every operation that figures call on components, streams and transforms.
void CatchFrameworkCalls();
