#include "host/measure/Workers.h"

namespace host {

Workers::Workers(unsigned int threads) {
    for (unsigned int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this](const std::stop_token& stop) { Work(stop); });
    }
}

void Workers::Enqueue(std::packaged_task<void()> task) {
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(task));
    }
    m_wake.notify_one();
}

void Workers::Work(const std::stop_token& stop) {
    for (;;) {
        std::packaged_task<void()> task;
        {
            std::unique_lock lock(m_mutex);
            if (!m_wake.wait(lock, stop, [this] { return !m_waiting.empty(); }) || stop.stop_requested()) {
                return;
            }
            task = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
        task();
    }
}

}  // namespace host
