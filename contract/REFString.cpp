#include "contract/REFString.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

CREFString::CREFString(CREFString&& other) noexcept
    : tagREFString{std::exchange(other.length, 0), m_inline},
      m_capacity(std::exchange(other.m_capacity, kInline)),
      m_heap(std::move(other.m_heap)) {
    if (m_heap) {
        text = m_heap.get();
    } else {
        std::copy_n(other.m_inline, length, m_inline);
    }
    other.text = other.m_inline;
}

bool CREFString::PutAnew(int kept, const wchar_t* characters, int count) noexcept {
    if (count > INT_MAX - kept) {
        return false;
    }
    const int joined = kept + count;
    const int capacity = std::max(joined, m_capacity <= INT_MAX / 2 ? 2 * m_capacity : INT_MAX);
    std::unique_ptr<wchar_t[]> grown(new (std::nothrow) wchar_t[static_cast<std::size_t>(capacity)]);
    if (grown == nullptr) {
        return false;
    }
    // The old contents live until both copies are made, since the new ones may be part of them.
    std::copy_n(text, kept, grown.get());
    std::copy_n(characters, count, grown.get() + kept);
    m_heap = std::move(grown);
    m_capacity = capacity;
    text = m_heap.get();
    length = joined;
    return true;
}
