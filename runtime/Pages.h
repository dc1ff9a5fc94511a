// Property pages: which page edits a figure.
#pragma once

#include "contract/Components.h"

/// The page class that edits any parametric object, under its full name and, for arc donut and profile,
/// without the prefix.
inline constexpr tagREFString kParametricPage = Text(L"UIPropPages.UIParametricObjectPropPage");
inline constexpr tagREFString kShortParametricPage = Text(L"UIParametricObjectPropPage");

/// Hands out a collection with one page entry: key, page class, name of the object's class. E_FAIL
/// with `*pages` null when the framework cannot give the collection or a string.
Result MakePages(tagREFString key, tagREFString pageClass, tagREFString objectName, INamedCollection** pages) noexcept;
