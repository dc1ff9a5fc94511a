#include "workbench/Answer.h"

#include <memory>
#include <new>
#include <utility>

namespace host::workbench {

namespace {

int StatusOf(ErrorKind kind) noexcept {
    switch (kind) {
        case ErrorKind::usage:
            return 400;
        case ErrorKind::unknownName:
        case ErrorKind::missingFile:
            return 404;
        default:
            return 422;
    }
}

}  // namespace

std::string TextOf(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

void SendBytes(httplib::Response& response, std::string bytes, const std::string& type) {
    if (bytes.empty()) {
        response.set_content(bytes, type);
        return;
    }
    const auto shared = std::make_shared<const std::string>(std::move(bytes));
    response.set_content_provider(shared->size(), type,
                                  [shared](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                      return sink.write(shared->data() + offset, length);
                                  });
}

void SendJsonText(httplib::Response& response, std::string json) {
    if (!response.has_header("Cache-Control")) {
        response.set_header("Cache-Control", "no-store");
    }
    SendBytes(response, std::move(json), "application/json");
}

void SendJson(httplib::Response& response, const Json& json) { SendJsonText(response, TextOf(json)); }

void SendError(httplib::Response& response, int status, const std::string& line) {
    response.status = status;
    SendJson(response, {{"error", line}});
}

void SendFailure(httplib::Response& response, std::exception_ptr failure) {
    try {
        std::rethrow_exception(std::move(failure));
    } catch (const Conflict& error) {
        SendError(response, 409, error.what());
    } catch (const Refused& error) {
        SendError(response, error.Status(), error.what());
    } catch (const Error& error) {
        SendError(response, StatusOf(error.Kind()), error.what());
    } catch (const Json::exception& error) {
        SendError(response, 400, Error("bad request", "JSON", error.what()).what());
    } catch (const std::bad_alloc&) {
        SendError(response, 503, "out of memory: roi: the machine has no more to give");
    } catch (const std::exception& error) {
        SendError(response, 422, Error("failed", "roi", error.what()).what());
    }
}

}  // namespace host::workbench
