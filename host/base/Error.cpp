#include "host/base/Error.h"

#include <fmt/format.h>

#include "framework/support/Utf8.h"

namespace host {

Error::Error(std::string_view what, std::string_view subject, std::string_view why, ErrorKind kind)
    : std::runtime_error(fmt::format("{}: {}: {}", Harmless(what), Harmless(subject), Harmless(why))), m_kind(kind) {}

}  // namespace host
