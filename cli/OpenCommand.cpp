// roi open: the workbench, a page in the browser that shows figures on images.
#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "cli/Commands.h"
#include "host/base/Descriptor.h"
#include "host/base/LateModule.h"
#include "workbench/Workbench.h"

namespace host::cli {

namespace {

constexpr const char* kOpenDetails =
    R"(Prints the address of a page on this machine and opens it in the browser: figures on the images, to be placed,
dragged and edited, and what they measure. Every edit is saved at once and can be taken back with roi undo; what
commands do to the set meanwhile is shown. Ctrl-C ends it.

Only this machine's user gets in: the address holds a random token. docs/workbench.md says what the page and programs
may ask.

)";

struct OpenOptions {
    workbench::ServerOptions server;
    bool noBrowser = false;
};

// A page that only this user may read and that leads to the address: others see what programs are started with.
std::string WayTo(const std::string& address) {
    const char* const own = std::getenv("XDG_RUNTIME_DIR");
    std::string path = fmt::format("{}/roi-XXXXXX.html", own != nullptr ? own : "/tmp");
    const Descriptor file(mkstemps(path.data(), 5));
    const std::string page =
        fmt::format("<!DOCTYPE html><meta http-equiv=\"refresh\" content=\"0;url={}\">\n", address);
    if (file.Number() < 0 || write(file.Number(), page.data(), page.size()) != static_cast<ssize_t>(page.size())) {
        return "";
    }
    return path;
}

// A file that goes with the object.
class Temporary {
  public:
    Temporary() = default;
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary() {
        if (!path.empty()) {
            unlink(path.c_str());
        }
    }

    std::string path;
};

// Where there is no browser, the address that is printed remains.
void OpenBrowser(std::string& path) {
    char program[] = "xdg-open";
    char* arguments[] = {program, path.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    posix_spawnp(&process, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
}

void Run(const OpenOptions& options) {
    Temporary way;
    const auto start = [&](const std::string& address) {
        WriteStdout(address + '\n');
        if (!options.noBrowser) {
            way.path = WayTo(address);
            OpenBrowser(way.path);
        }
    };
    const auto run = EntryOf<workbench::RunWorkbenchEntry>("Workbench.so", workbench::kRunWorkbenchSymbol);
    run(options.server, start);
}

}  // namespace

void AddOpenCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "open", "Opens a set on images in the browser, to be looked at and edited",
                                   "roi open part.roi part.png --no-browser");
    command.footer(kOpenDetails + command.get_footer());
    const auto options = std::make_shared<OpenOptions>();
    AddSetArgument(command, options->server.set);
    command.add_option("IMAGE", options->server.images, "The images to show")->type_name("");
    command.add_option("--port", options->server.port, "The port to listen on; any free one without it")
        ->check(CLI::Range(1, 65535).description(""))
        ->type_name("N");
    command
        .add_option(
            "--pixel-size", options->server.scale,
            "The size of a pixel of all images, columns before rows where they differ: 0.65um, 0.65x0.70um, or px")
        ->type_name("SIZE");
    command.add_flag("--read-only", options->server.readOnly, "Refuse edits");
    command.add_flag("--no-browser", options->noBrowser, "Only print the address");
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli
