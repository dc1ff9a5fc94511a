#include "host/sets/formats/JsonText.h"

#include <stdexcept>

namespace host {

namespace {

constexpr std::size_t kLongest = std::size_t{64} << 20;
constexpr int kDeepest = 24;

// Counts brackets outside of texts; what is no JSON at all is for the parser to refuse.
bool IsTooDeep(std::string_view text) noexcept {
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size() && depth <= kDeepest; ++i) {
        const char c = text[i];
        if (c == '"') {
            quoted = !quoted;
        } else if (quoted) {
            i += c == '\\' ? 1 : 0;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return depth > kDeepest;
}

}  // namespace

nlohmann::ordered_json ParseJsonText(std::string_view text) {
    if (text.size() > kLongest || IsTooDeep(text)) {
        throw std::runtime_error("too long, or nested too deeply");
    }
    return nlohmann::ordered_json::parse(text);
}

std::string JsonText(const nlohmann::ordered_json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace host
