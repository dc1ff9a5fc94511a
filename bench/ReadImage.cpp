// Decodes the images named on the command line with the host's reader: the least that `roi measure` can cost.
#include <algorithm>
#include <exception>

#include "host/base/Memory.h"
#include "host/images/Image.h"

int main(int argc, char** argv) {
    host::KeepFreedMemory();  // As `roi` does.
    try {
        const auto isRead = [](const char* path) { return !host::LoadImage(host::UserPath(path)).pixels.IsEmpty(); };
        return std::all_of(argv + 1, argv + argc, isRead) ? 0 : 1;
    } catch (const std::exception&) {
        return 1;
    }
}
