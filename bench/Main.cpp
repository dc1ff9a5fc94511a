#include <fmt/format.h>

#include <exception>
#include <filesystem>
#include <opencv2/core.hpp>

#include "bench/Questions.h"
#include "bench/RatioTable.h"
#include "host/base/Memory.h"

int main(int argc, char** argv) {
    try {
        // Like is held against like: the module works in one thread.
        cv::setNumThreads(1);
        host::KeepFreedMemory();                                     // As `roi` does.
        std::filesystem::current_path(host::DefaultModuleFolder());  // Modules are opened beside this program.
        const host::Session session;
        AddHitTests(session);
        AddGeometry(session);
        AddObjects(session);
        AddParameters(session);
        AddMasks(session);
        AddRegions(session);
        AddImages(session);
        return RunTable(argc, argv);
    } catch (const std::exception& error) {
        fmt::print(stderr, "roi_bench: {}\n", error.what());
        return 1;
    }
}
