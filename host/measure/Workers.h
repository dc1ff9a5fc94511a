// Threads that work off a queue.
#pragma once

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

namespace host {

class Workers {
  public:
    explicit Workers(unsigned int threads);
    /// Waits for what has begun and drops the rest.
    ~Workers() = default;
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Runs a function on one of the threads, first come first served. The future has what it returns or
    /// throws.
    template <class Function>
    auto Run(Function function) -> std::future<decltype(function())> {
        std::packaged_task<decltype(function())()> task(std::move(function));
        auto result = task.get_future();
        Enqueue(std::packaged_task<void()>([task = std::move(task)]() mutable { task(); }));
        return result;
    }

  private:
    void Enqueue(std::packaged_task<void()> task);
    void Work(const std::stop_token& stop);

    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::deque<std::packaged_task<void()>> m_waiting;
    std::vector<std::jthread> m_threads;  // Last: they end before what they use.
};

}  // namespace host
