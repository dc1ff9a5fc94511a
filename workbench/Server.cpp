#include "workbench/Server.h"

#include <fmt/format.h>

#include <chrono>
#include <semaphore>
#include <thread>
#include <utility>

#include "workbench/Api.h"
#include "workbench/Guard.h"
#include "workbench/PageFiles.h"

namespace host::workbench {

namespace {

// Every connection has a thread; more wait at the door.
constexpr std::size_t kMostConnections = 32;
constexpr std::size_t kLongestBody = std::size_t{64} << 20;

// As many connections as there are threads: the next is accepted when one of them is gone.
class BoundedThreads final : public httplib::ThreadPool {
  public:
    BoundedThreads() : httplib::ThreadPool(kMostConnections) {}

    void enqueue(std::function<void()> connection) override {
        m_free.acquire();
        httplib::ThreadPool::enqueue([this, connection = std::move(connection)] {
            connection();
            m_free.release();
        });
    }

  private:
    std::counting_semaphore<> m_free{kMostConnections};
};

}  // namespace

struct Server::Parts {
    explicit Parts(const ServerOptions& options)
        : images(options.images, [this](const LoadedPage& page) { TellOf(page); }),
          module(options.set, [this](const Desk& desk) { events.Send("change", ChangeJson(desk)); }),
          api{options.set, options.readOnly, options.scale, events, images, module} {}

    void TellOf(const LoadedPage& page);
    void AddRoutes();
    void Listen(int port);
    void Watch(const std::stop_token& stop);

    Guard guard;
    Events events;
    PageFiles files;
    ImageStore images;
    ModuleThread module;
    Api api;
    httplib::Server http;
    std::jthread listener;
    std::jthread watcher;
};

void Server::Parts::TellOf(const LoadedPage& page) {
    Json data{{"image", page.Id().image},
              {"page", page.Id().page},
              {"rows", page.Pixels().Rows()},
              {"height", page.Info().size.height}};
    try {
        page.CheckSound();
    } catch (const std::exception& failure) {
        data["error"] = failure.what();
    }
    events.Send("image", data);
}

void Server::Parts::AddRoutes() {
    Routes routes(http);
    AddSetRoutes(routes, api);
    AddEditRoutes(routes, api);
    AddImageRoutes(routes, api);
    AddMeasureRoutes(routes, api);
    AddExchangeRoutes(routes, api);
    const auto send = [this](const auto& request, auto& response) { files.Send(request.path, response); };
    routes.Get("/", send);
    routes.Get("/(static|lib)/.*", send);
    http.set_default_headers(Guard::DefaultHeaders());
    http.set_pre_routing_handler(
        [this](const auto& request, auto& response) { return guard.Check(request, response); });
    http.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
        if (response.body.empty() && response.content_length_ == 0) {
            SendError(response, response.status, Error("cannot answer", request.path, "no such request").what());
        }
    });
}

void Server::Parts::Listen(int port) {
    constexpr const char* kHere = "127.0.0.1";
    http.new_task_queue = [] { return new BoundedThreads; };
    http.set_payload_max_length(kLongestBody);
    http.set_keep_alive_max_count(100'000);
    // Ctrl-C waits that long for connections that nobody uses.
    http.set_keep_alive_timeout(1);
    // An answer in several pieces would wait for the browser's word about the first.
    http.set_tcp_nodelay(true);
    // On the port of one that just ended, too; two never share one.
    http.set_socket_options([](socket_t socket) {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    const int bound = port == 0 ? http.bind_to_any_port(kHere) : (http.bind_to_port(kHere, port) ? port : -1);
    if (bound <= 0) {
        throw Error("cannot listen", fmt::format("port {}", port), "another program has it, or it is not allowed");
    }
    guard.SetPort(bound);
    listener = std::jthread([this] { http.listen_after_bind(); });
    while (!http.is_running()) {
        std::this_thread::yield();
    }
}

// Looks whether others changed the set's file: on any file system, also by way of a link.
void Server::Parts::Watch(const std::stop_token& stop) {
    constexpr auto kPause = std::chrono::milliseconds(200);
    std::string told;
    while (!stop.stop_requested()) {
        std::this_thread::sleep_for(kPause);
        std::string trouble;
        try {
            module.Ask([](Desk& desk) { desk.File().Refresh(); });
        } catch (const std::exception& failure) {
            trouble = failure.what();
        }
        if (trouble != told && !trouble.empty()) {
            events.Send("trouble", {{"error", trouble}});
        }
        told = std::move(trouble);
    }
}

Server::Server(const ServerOptions& options) : m_parts(std::make_unique<Parts>(options)) {
    m_parts->AddRoutes();
    m_parts->Listen(options.port);
    m_parts->watcher = std::jthread([this](const std::stop_token& stop) { m_parts->Watch(stop); });
}

Server::~Server() {
    m_parts->watcher.request_stop();
    m_parts->watcher.join();
    m_parts->events.Close();
    m_parts->http.stop();
    m_parts->listener.join();
}

std::string Server::Address() const { return m_parts->guard.Address(); }

}  // namespace host::workbench
