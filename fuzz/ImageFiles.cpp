// Image files of every format that is opened, page by page, as measuring reads them.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <string>

#include "fuzz/Target.h"
#include "host/base/Error.h"
#include "host/images/Image.h"

namespace {

// A few bytes can stand for any number of pixels: what takes more is not read here.
constexpr std::size_t kMostBytes = std::size_t{1} << 20;
constexpr int kMostPages = 4;

void ReadPage(host::ImageFile& file) {
    const host::PageInfo page = file.Page();
    REQUIRE(page.size.width > 0 && page.size.height > 0 && page.channels > 0);
    if (page.RowBytes() * static_cast<std::size_t>(page.size.height) > kMostBytes) {
        return;
    }
    const host::Image image = file.Read();
    REQUIRE(image.pixels.Size().width == page.size.width && image.pixels.Size().height <= page.size.height);
    REQUIRE(image.pixels.Size().height == page.size.height || file.IsDamaged());
    REQUIRE(host::Luma(image).Size() == image.pixels.Size());
    REQUIRE(!host::Channels(image).empty());
}

void ReadPages(const std::string& path, host::Damage damage) {
    try {
        host::ImageFile file(host::UserPath(path), damage);
        const int pages = std::min(file.Pages(), kMostPages);
        REQUIRE(pages > 0);
        ReadPage(file);
        for (int page = pages; page > 1; --page) {
            file.Turn(page);
            ReadPage(file);
        }
    } catch (const host::Error& refusal) {
        REQUIRE(refusal.what()[0] != '\0');
    } catch (const std::bad_alloc&) {
        // For what a header claims.
    }
}

}  // namespace

/// A file is refused with a reason, or its pages have the sizes that they say.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    const int file = memfd_create("image", MFD_CLOEXEC);
    REQUIRE(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size));
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    ReadPages(path, host::Damage::taken);
    ReadPages(path, host::Damage::refused);
    close(file);
    return 0;
}
