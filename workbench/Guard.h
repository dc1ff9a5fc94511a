// Who gets in: only requests of this machine's user, from the page itself or from a program that was given the address.
#pragma once

#include <httplib.h>

#include <string>

namespace host::workbench {

class Guard {
  public:
    /// Makes a token that nobody can guess. Throws std::exception when the system has no random numbers.
    Guard();

    /// The port that the server listens on, before the first request.
    void SetPort(int port) { m_port = port; }
    /// What to open: it holds the token.
    std::string Address() const;

    /// Answers a request that does not get in, and the one that brings the token.
    httplib::Server::HandlerResponse Check(const httplib::Request& request, httplib::Response& response) const;

    /// The headers of every answer: the page may load its own files only, nobody may frame or embed it, nothing is
    /// kept.
    static httplib::Headers DefaultHeaders();

  private:
    std::string CookieName() const;
    bool IsOurs(const std::string& authority) const;
    bool HasCookie(const httplib::Request& request) const;
    const char* WhyNot(const httplib::Request& request) const;
    void Enter(httplib::Response& response) const;

    std::string m_token;
    int m_port = 0;
};

}  // namespace host::workbench
