// How libvips is set up, by whichever module of a program comes first.
#pragma once

#include <vips/vips.h>

#include <stdexcept>

namespace host {

/// Throws std::runtime_error when the library does not start.
inline void StartVips() {
    static const bool started = [] {
        if (VIPS_INIT("roi") != 0) {
            return false;
        }
        // Whoever calls has threads enough, and files change under the names by which results would be kept.
        vips_concurrency_set(1);
        vips_cache_set_max(0);
        // Warnings come as errors where they matter.
        for (const char* domain : {"VIPS", "GLib-GObject", "GModule"}) {
            g_log_set_handler(
                domain, G_LOG_LEVEL_MASK, [](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
        }
        return true;
    }();
    if (!started) {
        throw std::runtime_error("libvips does not start");
    }
}

}  // namespace host
