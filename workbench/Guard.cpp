#include "workbench/Guard.h"

#include <fmt/format.h>

#include <random>
#include <string_view>

#include "workbench/Answer.h"

namespace host::workbench {

namespace {

std::string RandomToken() {
    std::random_device random;
    std::string token;
    for (int i = 0; i < 8; ++i) {
        token += fmt::format("{:08x}", random());
    }
    return token;
}

// In a time that does not depend on where they differ.
bool AreEqual(std::string_view a, std::string_view b) noexcept {
    unsigned int difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        difference |= static_cast<unsigned int>(a[i] ^ b[i]);
    }
    return difference == 0;
}

}  // namespace

Guard::Guard() : m_token(RandomToken()) {}

std::string Guard::Address() const { return fmt::format("http://127.0.0.1:{}/?token={}", m_port, m_token); }

// Cookies are the same for all ports of a machine.
std::string Guard::CookieName() const { return fmt::format("roi-{}", m_port); }

bool Guard::IsOurs(const std::string& authority) const {
    return authority == fmt::format("127.0.0.1:{}", m_port) || authority == fmt::format("localhost:{}", m_port);
}

bool Guard::HasCookie(const httplib::Request& request) const {
    const std::string wanted = CookieName() + '=';
    std::string_view rest;
    const std::string cookies = request.get_header_value("Cookie");
    for (rest = cookies; !rest.empty();) {
        const std::string_view cookie = rest.substr(0, rest.find(';'));
        if (cookie.starts_with(wanted) && AreEqual(cookie.substr(wanted.size()), m_token)) {
            return true;
        }
        rest.remove_prefix(std::min(cookie.size() + 1, rest.size()));
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    }
    return false;
}

// Null for a request that may come from the page or its user, cookie or not.
const char* Guard::WhyNot(const httplib::Request& request) const {
    if (request.get_header_value_count("Host") != 1 || !IsOurs(request.get_header_value("Host"))) {
        return "another host is meant";
    }
    const std::string origin = request.get_header_value("Origin");
    if (request.get_header_value_count("Origin") > 1 ||
        (request.has_header("Origin") && (!origin.starts_with("http://") || !IsOurs(origin.substr(7))))) {
        return "it comes from another page";
    }
    // What has no length, or says less than it becomes, has no bound.
    if (request.has_header("Transfer-Encoding") || request.has_header("Content-Encoding") ||
        (request.method == "POST" && !request.has_header("Content-Length"))) {
        return "its body has no plain length";
    }
    return request.method == "GET" || request.method == "POST" ? nullptr : "there is no such method";
}

// The cookie is set, and the page asks for itself again without the token: only what a page of ours asks for carries a
// strict cookie, wherever the first request came from.
void Guard::Enter(httplib::Response& response) const {
    response.set_header("Set-Cookie", fmt::format("{}={}; Path=/; HttpOnly; SameSite=Strict", CookieName(), m_token));
    SendBytes(response, "<!DOCTYPE html><meta http-equiv=\"refresh\" content=\"0;url=/\"><title>roi</title>",
              "text/html; charset=utf-8");
}

httplib::Server::HandlerResponse Guard::Check(const httplib::Request& request, httplib::Response& response) const {
    const auto refuse = [&response](const char* why) {
        SendError(response, 403, Error("refused", "request", why).what());
        return httplib::Server::HandlerResponse::Handled;
    };
    if (const char* const why = WhyNot(request)) {
        return refuse(why);
    }
    if (request.method == "GET" && request.path == "/" && AreEqual(request.get_param_value("token"), m_token)) {
        Enter(response);
        return httplib::Server::HandlerResponse::Handled;
    }
    // Pages on other ports of this machine are of the same site.
    const std::string from = request.get_header_value("Sec-Fetch-Site");
    if (!from.empty() && from != "same-origin" && from != "none") {
        return refuse("it comes from another page");
    }
    return HasCookie(request) ? httplib::Server::HandlerResponse::Unhandled
                              : refuse("open the address that roi open printed");
}

httplib::Headers Guard::DefaultHeaders() {
    return {{"Content-Security-Policy",
             "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
             "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
            {"X-Content-Type-Options", "nosniff"},
            {"Cross-Origin-Resource-Policy", "same-origin"},
            {"Cross-Origin-Opener-Policy", "same-origin"},
            {"Referrer-Policy", "no-referrer"}};
}

}  // namespace host::workbench
