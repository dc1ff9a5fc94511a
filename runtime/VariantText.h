// Variants as text.
#pragma once

#include "contract/Components.h"

/// A new string object holding a variant's value. A string variant gives its own string; an integer,
/// or any number at precision 0, prints as an integer; a negative precision prints as many decimals as
/// the value needs (up to 9), a positive one exactly that many. Null for a null or non-numeric value.
SmartPtr<IString> ISCreate(IVariant* value, short precision) noexcept;

/// The same at the precision the value needs; a variant that holds an object gives the name of the
/// object's class, anything else an empty text. Null only for a null value or a missing framework.
SmartPtr<IString> ISCreate(IVariant* value) noexcept;
