// A wide text that keeps short contents inside itself: names of parameters are made, read and dropped
// by the dozen, and should not cost an allocation each.
#pragma once

#include <algorithm>
#include <climits>
#include <memory>
#include <new>
#include <utility>

#include "runtime/Framework.h"

class SmallText {
  public:
    SmallText() noexcept = default;
    SmallText(SmallText&& other) noexcept
        : m_length(std::exchange(other.m_length, 0)),
          m_capacity(std::exchange(other.m_capacity, kInline)),
          m_heap(std::move(other.m_heap)) {
        if (!m_heap) {
            std::copy_n(other.m_inline, m_length, m_inline);
        }
    }

    tagREFString View() const noexcept { return {m_length, m_heap ? m_heap.get() : m_inline}; }

    /// Replaces the contents by a copy of `count` characters, or adds them. The characters may be part
    /// of this text. False, with the contents kept, when there is no memory.
    bool Assign(const wchar_t* characters, int count) noexcept { return Put(0, characters, count); }
    bool Append(const wchar_t* characters, int count) noexcept { return Put(m_length, characters, count); }
    /// Replaces the contents by a copy of a string's; false, with the contents kept, when that fails.
    bool Assign(IString& string) noexcept {
        tagREFString text{0, nullptr};
        return Succeeded(string.GetText(&text.text, &text.length)) && Assign(text.text, text.length);
    }

  private:
    static constexpr int kInline = 24;

    wchar_t* Data() noexcept { return m_heap ? m_heap.get() : m_inline; }

    // Keeps the first `kept` characters and puts the new ones behind them.
    bool Put(int kept, const wchar_t* characters, int count) noexcept {
        if (count < 0 || count > INT_MAX - kept) {
            return false;
        }
        const int length = kept + count;
        if (length <= m_capacity) {
            if (count > 0) {
                std::wmemmove(Data() + kept, characters, static_cast<std::size_t>(count));
            }
            m_length = length;
            return true;
        }
        const int capacity = std::max(length, m_capacity <= INT_MAX / 2 ? 2 * m_capacity : INT_MAX);
        std::unique_ptr<wchar_t[]> grown(new (std::nothrow) wchar_t[static_cast<std::size_t>(capacity)]);
        if (grown == nullptr) {
            return false;
        }
        // The old contents live until both copies are made, since the new ones may be part of them.
        std::copy_n(Data(), kept, grown.get());
        std::copy_n(characters, count, grown.get() + kept);
        m_heap = std::move(grown);
        m_capacity = capacity;
        m_length = length;
        return true;
    }

    int m_length = 0;
    int m_capacity = kInline;
    std::unique_ptr<wchar_t[]> m_heap;
    wchar_t m_inline[kInline];
};
