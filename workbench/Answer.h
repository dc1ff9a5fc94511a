// What the answers to requests have in common.
#pragma once

#include <httplib.h>

#include <nlohmann/json.hpp>
#include <string>

#include "host/base/Error.h"

namespace host::workbench {

using Json = nlohmann::ordered_json;

/// JSON as text; what is not UTF-8 shows as the replacement character.
std::string TextOf(const Json& json);

/// Sends bytes as they are: the library would compress texts, which takes longer than it saves on one machine.
void SendBytes(httplib::Response& response, std::string bytes, const std::string& type);
void SendJson(httplib::Response& response, const Json& json);
/// Sends JSON that is a text already.
void SendJsonText(httplib::Response& response, std::string json);
void SendError(httplib::Response& response, int status, const std::string& line);

/// The edit is based on what somebody else has changed since.
class Conflict : public Error {
  public:
    using Error::Error;
};

/// The server does not do it: it only reads, or has too much to do.
class Refused : public Error {
  public:
    Refused(int status, std::string_view what, std::string_view subject, std::string_view why)
        : Error(what, subject, why), m_status(status) {}
    int Status() const noexcept { return m_status; }

  private:
    int m_status;
};

/// Answers with the error that is being handled.
void SendFailure(httplib::Response& response, std::exception_ptr failure);

}  // namespace host::workbench
