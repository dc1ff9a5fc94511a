#include "runtime/REFString.h"

#include <climits>

bool CREFString::Assign(const wchar_t* characters, int count) noexcept {
    wchar_t* copy = nullptr;
    if (count > 0) {
        copy = new (std::nothrow) wchar_t[static_cast<std::size_t>(count)];
        if (copy == nullptr) {
            return false;
        }
        std::wmemcpy(copy, characters, static_cast<std::size_t>(count));
    }
    delete[] text;
    text = copy;
    length = count > 0 ? count : 0;
    return true;
}

bool CREFString::Append(const wchar_t* characters, int count) noexcept {
    if (count <= 0) {
        return true;
    }
    if (length > INT_MAX - count) {
        return false;
    }
    auto* joined = new (std::nothrow) wchar_t[static_cast<std::size_t>(length) + static_cast<std::size_t>(count)];
    if (joined == nullptr) {
        return false;
    }
    if (length > 0) {
        std::wmemcpy(joined, text, static_cast<std::size_t>(length));
    }
    std::wmemcpy(joined + length, characters, static_cast<std::size_t>(count));
    delete[] text;
    text = joined;
    length += count;
    return true;
}
