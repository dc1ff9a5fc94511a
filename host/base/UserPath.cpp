#include "host/base/UserPath.h"

#include <algorithm>
#include <utility>

#include "host/base/Error.h"

namespace host {

namespace {

std::string NotEmpty(std::string typed) {
    if (typed.empty()) {
        throw UsageError("usage", "''", "a path must not be empty");
    }
    return typed;
}

}  // namespace

UserPath::UserPath(std::string typed) : m_typed(NotEmpty(std::move(typed))) {
    std::error_code failure;
    m_absolute = std::filesystem::absolute(m_typed, failure);
    if (failure) {
        throw Error("cannot resolve path", m_typed, failure.message());
    }
}

UserPath::UserPath(std::string typed, const UserPath& folder)
    : m_typed(NotEmpty(std::move(typed))), m_absolute(folder.Absolute() / m_typed) {}

std::string UserPath::Extension() const {
    std::string extension = m_absolute.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return extension;
}

}  // namespace host
