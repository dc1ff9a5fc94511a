// Reference strings: the plain record that crosses module boundaries, and the class that owns a text.
#pragma once

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string_view>
#include <type_traits>

#include "contract/InterfaceId.h"

template <class T>
class SmartPtr;

/// A counted wide text, passed by value. The text is not terminated; only the length counts. The
/// record owns nothing: the text lives as long as whoever handed the record out says.
struct tagREFString {
    int length;
    const wchar_t* text;
};

static_assert(sizeof(tagREFString) == 16 && std::is_trivially_copyable_v<tagREFString>,
              "tagREFString is passed by value in two registers: keep it a length and a pointer");
static_assert(sizeof(wchar_t) == 4, "the framework's texts are 32-bit characters: build for Linux");

/// The record of a text that lives elsewhere, without its terminator: Text(L"ROIEllipse").
constexpr tagREFString Text(std::wstring_view text) noexcept { return {static_cast<int>(text.size()), text.data()}; }

/// Equal length and equal characters: no trimming, no case folding, no use of a terminator.
inline bool operator==(const tagREFString& a, const tagREFString& b) noexcept {
    if (a.length != b.length) {
        return false;
    }
    return a.length <= 0 || a.text == b.text || std::wmemcmp(a.text, b.text, static_cast<std::size_t>(a.length)) == 0;
}
inline bool operator!=(const tagREFString& a, const tagREFString& b) noexcept { return !(a == b); }

/// A reference string that owns its text. Short texts stand inside it: names of parameters are made, read
/// and dropped by the dozen, and should not cost an allocation each.
///
/// Also the place from which a module gets the small components it is forever in need of: strings,
/// variants and collections.
class CREFString : public tagREFString {
  public:
    CREFString() noexcept : tagREFString{0, m_inline} {}
    CREFString(CREFString&& other) noexcept;
    CREFString& operator=(const CREFString&) = delete;

    /// Replaces the contents by a copy of `count` characters, or adds them; a count of 0 or less stands
    /// for no characters. The characters may be part of this text. False, with the contents kept, when
    /// there is no memory.
    bool Assign(const wchar_t* characters, int count) noexcept { return Put(0, characters, count); }
    bool Append(const wchar_t* characters, int count) noexcept { return Put(length, characters, count); }

    /// A new, empty string component, or null when the sibling modules cannot make one.
    static SmartPtr<IString> CreateString() noexcept;
    /// A new variant component that holds nothing, or null.
    static SmartPtr<IVariant> CreateVariant() noexcept;
    /// A new, empty collection component, or null.
    static SmartPtr<ISuperCollection> CreateCollection() noexcept;

  private:
    static constexpr int kInline = 20;

    // Keeps the first `kept` characters and puts the new ones behind them.
    bool Put(int kept, const wchar_t* characters, int count) noexcept {
        count = std::max(count, 0);
        if (count > m_capacity - kept) {
            return PutAnew(kept, characters, count);
        }
        if (count > 0) {
            std::memmove((m_heap ? m_heap.get() : m_inline) + kept, characters,
                         static_cast<std::size_t>(count) * sizeof(wchar_t));
        }
        length = kept + count;
        return true;
    }
    // The same for more characters than there is room for.
    bool PutAnew(int kept, const wchar_t* characters, int count) noexcept;

    int m_capacity = kInline;
    std::unique_ptr<wchar_t[]> m_heap;
    wchar_t m_inline[kInline];
};
