#include "host/images/ImageFile.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

#include "host/base/LateModule.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"

namespace host {

namespace {

using namespace std::string_view_literals;

constexpr const char* kOwnCodecs = "ImageCodecs.so";
constexpr const char* kRareCodecs = "VipsCodecs.so";

// How the files of a format begin, and the module that opens them.
struct Signature {
    Format format;
    const char* name;
    const char* module;
    std::string_view start;
    std::string_view later = {};  // What follows four bytes further on.
};

constexpr Signature kSignatures[] = {
    {Format::png, "PNG", kOwnCodecs, "\x89PNG\r\n\x1A\n"sv},
    {Format::jpeg, "JPEG", kOwnCodecs, "\xFF\xD8\xFF"sv},
    {Format::tiff, "TIFF", kOwnCodecs, "II*\0"sv},
    {Format::tiff, "TIFF", kOwnCodecs, "MM\0*"sv},
    {Format::tiff, "TIFF", kOwnCodecs, "II+\0"sv},
    {Format::tiff, "TIFF", kOwnCodecs, "MM\0+"sv},
    {Format::gif, "GIF", kRareCodecs, "GIF8"sv},
    {Format::webp, "WebP", kRareCodecs, "RIFF"sv, "WEBP"sv},
    {Format::jpeg2000, "JPEG 2000", kRareCodecs, "\0\0\0\x0CjP  \r\n\x87\n"sv},
    {Format::jpeg2000, "JPEG 2000", kRareCodecs, "\xFF\x4F\xFF\x51"sv},
    {Format::fits, "FITS", kRareCodecs, "SIMPLE  ="sv},
    {Format::openExr, "OpenEXR", kRareCodecs, "v/1\x01"sv},
    {Format::pnm, "PNM", kRareCodecs, "P1"sv},
    {Format::pnm, "PNM", kRareCodecs, "P2"sv},
    {Format::pnm, "PNM", kRareCodecs, "P3"sv},
    {Format::pnm, "PNM", kRareCodecs, "P4"sv},
    {Format::pnm, "PNM", kRareCodecs, "P5"sv},
    {Format::pnm, "PNM", kRareCodecs, "P6"sv},
    {Format::bmp, "BMP", kRareCodecs, "BM"sv},
};

// Null for a file of no known format.
const Signature* SignatureOf(std::string_view start) noexcept {
    const auto* const found = std::find_if(std::begin(kSignatures), std::end(kSignatures), [start](const Signature& s) {
        return start.starts_with(s.start) &&
               (s.later.empty() || (start.size() > 8 && start.substr(8).starts_with(s.later)));
    });
    return found != std::end(kSignatures) ? found : nullptr;
}

constexpr const char* kUnreadable = "cannot read image";

struct Closed {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closed>;

std::string Reason(int code) { return std::generic_category().message(code); }

// An empty file in memory. Throws std::runtime_error.
File NewMemoryFile() {
    const int descriptor = memfd_create("image", MFD_CLOEXEC);
    File file(descriptor >= 0 ? fdopen(descriptor, "w+b") : nullptr);
    if (!file) {
        throw std::runtime_error(Reason(errno));
    }
    return file;
}

// All that can be read from a file, in memory.
File Copied(std::FILE* from) {
    File file = NewMemoryFile();
    std::array<char, 1 << 16> block{};
    std::size_t left = kLargestFile;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), from)) {
        if (count > left || std::fwrite(block.data(), 1, count, file.get()) != count) {
            throw std::runtime_error(Reason(EFBIG));
        }
        left -= count;
    }
    if (std::ferror(from) != 0) {
        throw std::runtime_error(Reason(errno));
    }
    return file;
}

File Opened(const std::filesystem::path& path) {
    File file(std::fopen(path.c_str(), "rbe"));
    struct stat status {};
    if (!file || fstat(fileno(file.get()), &status) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return S_ISREG(status.st_mode) ? std::move(file) : Copied(file.get());
}

// A few bytes can stand for any number of pixels: sizes have a limit, whatever they would take in memory.
bool IsTooLarge(const PageInfo& page) noexcept {
    constexpr int kLongestSide = 1 << 20;
    constexpr std::int64_t kMostPixels = std::int64_t{1} << 30;
    constexpr int kMostChannels = 1 << 10;
    return page.size.width > kLongestSide || page.size.height > kLongestSide || page.channels > kMostChannels ||
           std::int64_t{page.size.width} * page.size.height > kMostPixels;
}

}  // namespace

std::string ImageFormats() {
    std::string names;
    const char* last = "";
    for (const Signature& signature : kSignatures) {
        if (std::strcmp(signature.name, last) != 0) {
            names += fmt::format("{}{}", names.empty() ? "" : ", ", signature.name);
            last = signature.name;
        }
    }
    return names;
}

PageSelection::PageSelection(const std::string& text) {
    std::string_view rest = text;
    for (;;) {
        const std::string_view part = rest.substr(0, rest.find(','));
        const std::size_t dash = part.find('-');
        const auto first = ParseInteger(part.substr(0, dash));
        const auto last = dash == std::string_view::npos ? first : ParseInteger(part.substr(dash + 1));
        if (!first || !last || *first < 1 || *last < *first || *last > std::numeric_limits<int>::max()) {
            throw UsageError("not a selection of pages", text, "write numbers from 1 and ranges, as in 1,3-5");
        }
        m_ranges.push_back({static_cast<int>(*first), static_cast<int>(*last)});
        if (part.size() == rest.size()) {
            return;
        }
        rest.remove_prefix(part.size() + 1);
    }
}

bool PageSelection::Has(int page) const noexcept {
    return m_ranges.empty() || std::any_of(m_ranges.begin(), m_ranges.end(), [page](const Range& range) {
               return range.first <= page && page <= range.last;
           });
}

ImageName::ImageName(UserPath named) : path(std::move(named)), file(path.Absolute()) {
    const std::string& text = file.native();
    const std::size_t colon = text.rfind(':');
    const auto number =
        colon == std::string::npos ? std::nullopt : ParseInteger(std::string_view(text).substr(colon + 1));
    std::error_code failure;
    if (number && *number >= 1 && *number <= std::numeric_limits<int>::max() &&
        !std::filesystem::exists(file, failure)) {
        page = static_cast<int>(*number);
        file = text.substr(0, colon);
    }
}

// The reader goes before the file that it reads.
struct ImageFile::Parts {
    File file;
    std::unique_ptr<FileReader> reader;
};

// What a body gives; whatever it throws becomes an error that names the file.
template <class Body>
auto ImageFile::Named(const Body& body) const {
    try {
        return body();
    } catch (const Error&) {
        throw;
    } catch (const std::system_error& failure) {
        throw Error(kUnreadable, m_typed, failure.what(), KindOf(failure.code().value()));
    } catch (const std::bad_alloc&) {
        throw Unreadable("out of memory");
    } catch (const std::exception& failure) {
        throw Unreadable(failure.what());
    }
}

ImageFile::ImageFile(const ImageName& name, Damage damage)
    : m_parts(std::make_unique<Parts>()), m_typed(name.path.Typed()), m_named(name.page), m_damage(damage) {
    Named([&] {
        m_parts->file = Opened(name.file);
        Open();
    });
    if (m_named && *m_named > m_pages) {
        throw Unreadable(fmt::format("it has {} {}", m_pages, m_pages == 1 ? "page" : "pages"));
    }
    Turn(m_named.value_or(1));
}

ImageFile::ImageFile(std::unique_ptr<Parts> parts, std::string typed)
    : m_parts(std::move(parts)), m_typed(std::move(typed)) {
    Open();
    Turn(1);
}

ImageFile::~ImageFile() = default;
ImageFile::ImageFile(ImageFile&&) noexcept = default;
ImageFile& ImageFile::operator=(ImageFile&&) noexcept = default;

// Recognises the file and opens it by its codec.
void ImageFile::Open() {
    std::FILE* const file = m_parts->file.get();
    std::rewind(file);
    std::array<char, 16> start{};
    const std::size_t length = std::fread(start.data(), 1, start.size(), file);
    if (std::ferror(file) != 0) {
        throw Unreadable(Reason(errno));
    }
    if (length == 0) {
        throw Unreadable("the file is empty");
    }
    const Signature* const signature = SignatureOf({start.data(), length});
    if (signature == nullptr) {
        throw Unreadable(fmt::format("not an image of a known format ({})", ImageFormats()));
    }
    const auto open = EntryOf<OpenImageFileEntry>(signature->module, kOpenImageFileSymbol);
    std::rewind(file);
    m_parts->reader.reset(open(signature->format, file));
    m_pages = m_parts->reader->Pages();
    CheckFault();
}

Error ImageFile::Unreadable(std::string_view why) const { return {kUnreadable, m_typed, why}; }

// Throws what the codec has found wrong, or takes it.
void ImageFile::CheckFault() {
    const std::string fault = m_parts->reader->Fault();
    if (!fault.empty() && m_damage == Damage::refused) {
        throw Unreadable(fault);
    }
    m_damaged = !fault.empty();
}

std::vector<int> ImageFile::Wanted(const PageSelection& selection) const {
    std::vector<int> pages;
    for (int page = m_named.value_or(1); page <= m_named.value_or(m_pages); ++page) {
        if (m_named || selection.Has(page)) {
            pages.push_back(page);
        }
    }
    if (pages.empty()) {
        throw Unreadable(fmt::format("it has {} {}, none of those selected", m_pages, m_pages == 1 ? "page" : "pages"));
    }
    return pages;
}

void ImageFile::Turn(int page) {
    m_next = 0;
    m_page = Named([&] { return m_parts->reader->Turn(page - 1); });
    CheckFault();
    if (m_page.size.IsEmpty() || IsTooLarge(m_page)) {
        throw Unreadable(fmt::format("{} x {} pixels of {} channels are {}", m_page.size.width, m_page.size.height,
                                     m_page.channels, m_page.size.IsEmpty() ? "no image" : "too many"));
    }
}

bool ImageFile::Go(int row) {
    const bool isThere = m_parts->reader->Go(row);
    m_next = isThere ? row : m_next;
    return isThere;
}

bool ImageFile::ReadRow(std::byte* row) {
    const bool isRead = Named([&] { return m_parts->reader->ReadRow(row); });
    CheckFault();
    m_next += isRead ? 1 : 0;
    return isRead;
}

int ImageFile::ReadRows(int count, std::byte* rows) {
    for (int i = 0; i < count; ++i) {
        if (!ReadRow(rows)) {
            return i;
        }
        rows += m_page.RowBytes();
    }
    return count;
}

Image ImageFile::Read() { return Read({0, m_next, m_page.size.width, m_page.size.height - m_next}); }

Image ImageFile::Read(const PixelRect& box) {
    Raster pixels = Named([&] { return Raster({box.width, box.height}, m_page.channels, m_page.depth); });
    const bool isWhole = box.width == m_page.size.width;
    std::vector<std::byte> row(isWhole && box.top == m_next ? 0 : m_page.RowBytes());
    const std::size_t left =
        static_cast<std::size_t>(box.left) * static_cast<std::size_t>(m_page.channels) * BytesOf(m_page.depth);
    while (m_next < box.top && ReadRow(row.data())) {
    }
    int rows = 0;
    for (; m_next == box.top + rows && rows < box.height; ++rows) {
        std::byte* const to = pixels.Row<std::byte>(rows);
        if (!ReadRow(isWhole ? to : row.data())) {
            break;
        }
        if (!isWhole) {
            std::memcpy(to, row.data() + left, pixels.RowBytes());
        }
    }
    if (m_next == 0 && box.height > 0) {
        throw Unreadable(m_parts->reader->Fault());
    }
    return {m_page, pixels.Top(rows)};
}

Image DecodeImage(std::string_view bytes) {
    auto parts = std::make_unique<ImageFile::Parts>();
    parts->file = NewMemoryFile();
    if (std::fwrite(bytes.data(), 1, bytes.size(), parts->file.get()) != bytes.size()) {
        throw std::runtime_error(Reason(errno));
    }
    return ImageFile(std::move(parts), "image").Read();
}

std::string EncodeImage(Format format, const RasterView& image) {
    static const auto write = EntryOf<WriteImageFileEntry>(kOwnCodecs, kWriteImageFileSymbol);
    const File file = NewMemoryFile();
    write(format, file.get(), image);
    std::string bytes;
    if (std::fflush(file.get()) == 0 && std::fseek(file.get(), 0, SEEK_END) == 0) {
        bytes.resize(static_cast<std::size_t>(std::ftell(file.get())));
        std::rewind(file.get());
    }
    if (bytes.empty() || std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        throw std::runtime_error(Reason(errno));
    }
    return bytes;
}

}  // namespace host
