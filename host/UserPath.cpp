#include "host/UserPath.h"

#include <algorithm>
#include <utility>

#include "host/Error.h"

UserPath::UserPath(std::string typed) : m_typed(std::move(typed)) {
    if (m_typed.empty()) {
        throw UsageError("usage", "''", "a path must not be empty");
    }
    std::error_code failure;
    m_absolute = std::filesystem::absolute(m_typed, failure);
    if (failure) {
        throw Error("cannot resolve path", m_typed, failure.message());
    }
}

std::string UserPath::Extension() const {
    std::string extension = m_absolute.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return extension;
}
