#include "workbench/Events.h"

#include <chrono>
#include <utility>

namespace host::workbench {

namespace {

// Each takes a thread of the server.
constexpr std::size_t kMostStreams = 12;
constexpr std::size_t kMostWaiting = 1000;
// So that a window that is gone is noticed.
constexpr auto kSign = std::chrono::seconds(5);

std::string MessageOf(const std::string& name, const Json& data) {
    return "event: " + name + "\ndata: " + TextOf(data) + "\n\n";
}

}  // namespace

void Events::Send(const std::string& name, const Json& data) {
    const std::string message = MessageOf(name, data);
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& stream : m_streams) {
            stream->waiting.push_back(message);
            stream->isCut = stream->waiting.size() > kMostWaiting;
        }
    }
    m_wake.notify_all();
}

void Events::Attach(httplib::Response& response, const std::string& name, const Json& data) {
    const auto stream = std::make_shared<Stream>();
    stream->waiting.push_back(MessageOf(name, data));
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed || m_streams.size() >= kMostStreams) {
            throw Refused(503, "too many windows", "/api/events", "close one of them");
        }
        m_streams.push_back(stream);
    }
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "text/event-stream", [this, stream](std::size_t, httplib::DataSink& sink) { return Pass(*stream, sink); },
        [this, stream](bool) { Leave(stream); });
}

void Events::Close() {
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
    }
    m_wake.notify_all();
}

// Waits for what there is to say and says it; false at the end.
bool Events::Pass(Stream& stream, httplib::DataSink& sink) {
    std::string text;
    {
        std::unique_lock lock(m_mutex);
        m_wake.wait_for(lock, kSign, [&] { return m_isClosed || stream.isCut || !stream.waiting.empty(); });
        if (m_isClosed || stream.isCut) {
            return false;
        }
        for (const std::string& message : std::exchange(stream.waiting, {})) {
            text += message;
        }
    }
    text = text.empty() ? ":\n\n" : text;
    return sink.write(text.data(), text.size());
}

void Events::Leave(const std::shared_ptr<Stream>& stream) {
    const std::lock_guard lock(m_mutex);
    m_streams.remove(stream);
}

}  // namespace host::workbench
