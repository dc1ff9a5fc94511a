// What windows are told without asking: server-sent events.
#pragma once

#include <httplib.h>

#include <condition_variable>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "workbench/Answer.h"

namespace host::workbench {

class Events {
  public:
    /// Tells everybody who listens. A window that does not take its events is cut off; it asks anew.
    void Send(const std::string& name, const Json& data);
    /// Makes an answer a stream that begins with this event. Throws Refused when there are too many.
    void Attach(httplib::Response& response, const std::string& name, const Json& data);
    /// Ends all streams, and those to come.
    void Close();

  private:
    struct Stream {
        std::deque<std::string> waiting;
        bool isCut = false;
    };

    bool Pass(Stream& stream, httplib::DataSink& sink);
    void Leave(const std::shared_ptr<Stream>& stream);

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::list<std::shared_ptr<Stream>> m_streams;
    bool m_isClosed = false;
};

}  // namespace host::workbench
