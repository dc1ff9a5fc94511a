#include "framework/support/FolderStream.h"

#include <zip.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "framework/FrameworkComponent.h"
#include "framework/support/Utf8.h"

// ---------------------------------------------------------------------------------------------------
// The archive

namespace {

constexpr zip_int64_t kMostEntries = 200000;
constexpr zip_uint64_t kLargestTotal = zip_uint64_t{256} << 20;
constexpr std::size_t kLongestPath = 65535;
// Deflating saves less than a small block's entry in the archive takes.
constexpr std::size_t kSmallBlock = 4096;
constexpr int kZlibOutOfMemory = -4;

[[noreturn]] void Fail(const std::string& reason) { throw std::runtime_error(reason); }

// What the library says of a failure; a lack of memory is no failure of the archive's.
std::string ReasonOf(zip_error_t* error) {
    const int code = zip_error_code_zip(error);
    if (code == ZIP_ER_MEMORY || (code == ZIP_ER_ZLIB && zip_error_code_system(error) == kZlibOutOfMemory)) {
        throw std::bad_alloc();
    }
    return zip_error_strerror(error);
}

// For an error record of our own.
[[noreturn]] void Fail(zip_error_t* error) {
    const std::unique_ptr<zip_error_t, void (*)(zip_error_t*)> record(error, zip_error_fini);
    Fail(ReasonOf(error));
}

struct ArchiveDeleter {
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
};
struct FileDeleter {
    void operator()(zip_file_t* file) const noexcept { zip_fclose(file); }
};
struct SourceDeleter {
    void operator()(zip_source_t* source) const noexcept { zip_source_free(source); }
};
using Archive = std::unique_ptr<zip_t, ArchiveDeleter>;
using File = std::unique_ptr<zip_file_t, FileDeleter>;
using Source = std::unique_ptr<zip_source_t, SourceDeleter>;

// A source over bytes that it borrows.
Source MakeSource(std::string_view bytes) {
    zip_error_t error;
    zip_error_init(&error);
    Source source(zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error));
    if (source == nullptr) {
        Fail(&error);
    }
    return source;
}

// The archive over a source; the source stays the caller's.
Archive OpenArchive(const Source& source, int flags) {
    zip_error_t error;
    zip_error_init(&error);
    Archive archive(zip_open_from_source(source.get(), flags, &error));
    if (archive == nullptr) {
        Fail(&error);
    }
    zip_source_keep(source.get());  // The archive frees its own.
    return archive;
}

// A relative path of plain parts: none is empty, "." or "..".
bool IsSoundPath(std::string_view path) noexcept {
    if (path.size() > kLongestPath || path.find('\\') != path.npos || path.find('\0') != path.npos) {
        return false;
    }
    while (true) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string_view part = path.substr(0, end);
        if (part.empty() || part == "." || part == "..") {
            return false;
        }
        if (end == path.size()) {
            return true;
        }
        path.remove_prefix(end + 1);
    }
}

FolderArchive::Block ReadEntry(zip_t* archive, zip_uint64_t index, const zip_stat_t& entry) {
    const File file(zip_fopen_index(archive, index, 0));
    if (file == nullptr) {
        Fail(std::string(entry.name) + ": " + ReasonOf(zip_get_error(archive)));
    }
    FolderArchive::Block block(entry.size);
    const zip_int64_t read = block.empty() ? 0 : zip_fread(file.get(), block.data(), block.size());
    // Only reading on to the end compares the check sum.
    char beyond = 0;
    if (read != static_cast<zip_int64_t>(block.size()) || zip_fread(file.get(), &beyond, 1) != 0) {
        static_cast<void>(ReasonOf(zip_file_get_error(file.get())));
        Fail(std::string(entry.name) + ": damaged data");
    }
    return block;
}

zip_stat_t StatEntry(zip_t* archive, zip_uint64_t index) {
    constexpr zip_uint64_t kNeeded = ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
    zip_stat_t entry;
    zip_stat_init(&entry);
    if (zip_stat_index(archive, index, 0, &entry) != 0 || (entry.valid & kNeeded) != kNeeded) {
        Fail(ReasonOf(zip_get_error(archive)));
    }
    return entry;
}

void CheckEntry(const zip_stat_t& entry, zip_uint64_t largest) {
    if (entry.encryption_method != ZIP_EM_NONE) {
        Fail(std::string(entry.name) + ": encrypted");
    }
    // The two that are written, whose memory does not depend on what a file says.
    if (entry.comp_method != ZIP_CM_STORE && entry.comp_method != ZIP_CM_DEFLATE) {
        Fail(std::string(entry.name) + ": unknown compression");
    }
    if (entry.size > largest) {
        Fail(std::string(entry.name) + ": declared size too large");
    }
}

FolderArchive::Block ReadSpareEntry(zip_t* archive, zip_uint64_t index, const zip_stat_t& entry, zip_uint64_t largest) {
    try {
        CheckEntry(entry, largest);
        return ReadEntry(archive, index, entry);
    } catch (const std::runtime_error&) {
        return {};
    }
}

// The first date that a zip file can express, so that the same blocks give the same bytes. A zip file tells local time.
std::time_t FirstDate() noexcept {
    std::tm date{};
    date.tm_year = 80;
    date.tm_mday = 1;
    date.tm_isdst = -1;
    return std::mktime(&date);
}

void AddEntry(zip_t* archive, const std::string& path, const FolderArchive::Block& block, std::time_t date) {
    Source source(zip_source_buffer(archive, block.data(), block.size(), 0));
    const zip_int64_t added =
        source != nullptr ? zip_file_add(archive, path.c_str(), source.get(), ZIP_FL_ENC_UTF_8) : -1;
    if (added < 0) {
        Fail(path + ": " + ReasonOf(zip_get_error(archive)));
    }
    static_cast<void>(source.release());  // The archive's now.
    const auto index = static_cast<zip_uint64_t>(added);
    const zip_int32_t method = block.size() < kSmallBlock ? ZIP_CM_STORE : ZIP_CM_DEFLATE;
    if (zip_set_file_compression(archive, index, method, 0) != 0 || zip_file_set_mtime(archive, index, date, 0) != 0) {
        Fail(path + ": " + ReasonOf(zip_get_error(archive)));
    }
}

// Nothing is written that could not be read back.
void CheckSizes(const std::map<std::string, FolderArchive::Block>& blocks) {
    zip_uint64_t total = 0;
    for (const auto& [path, block] : blocks) {
        total += block.size();
    }
    if (total > kLargestTotal || blocks.size() > static_cast<std::size_t>(kMostEntries)) {
        Fail("too large for an archive");
    }
}

// What writing an archive left in its source.
std::string TakeBytes(zip_source_t* source) {
    zip_stat_t written;
    zip_stat_init(&written);
    if (zip_source_stat(source, &written) != 0 || zip_source_open(source) != 0) {
        Fail(ReasonOf(zip_source_error(source)));
    }
    std::string bytes(written.size, '\0');
    const zip_int64_t read = zip_source_read(source, bytes.data(), bytes.size());
    zip_source_close(source);
    if (read != static_cast<zip_int64_t>(bytes.size())) {
        Fail("the archive cannot be read back");
    }
    return bytes;
}

// An entry of the archive into the blocks, and its bytes into their sum.
void TakeEntry(zip_t* archive, zip_uint64_t index, std::string_view spare, zip_uint64_t& total,
               std::map<std::string, FolderArchive::Block>& blocks) {
    const zip_stat_t entry = StatEntry(archive, index);
    std::string path = entry.name;
    const bool isFolder = path.ends_with('/');
    if (isFolder) {
        path.pop_back();
    }
    if (!IsSoundPath(path)) {
        Fail(std::string(entry.name) + ": not a plain relative path");
    }
    const bool isSpare = path == spare;
    if (!isSpare) {
        CheckEntry(entry, kLargestTotal - total);
    }
    if (isFolder) {
        return;  // Folders follow from the paths of their blocks.
    }
    FolderArchive::Block block =
        isSpare ? ReadSpareEntry(archive, index, entry, kLargestTotal - total) : ReadEntry(archive, index, entry);
    total += block.size();
    // Archives are written in the order of their paths, so that each has its place behind those before it.
    const std::size_t before = blocks.size();
    blocks.try_emplace(blocks.end(), std::move(path), std::move(block));
    if (blocks.size() == before) {
        Fail(std::string(entry.name) + ": more than one entry of this name");
    }
}

std::map<std::string, FolderArchive::Block> ReadEntries(std::string_view bytes, std::string_view spare) {
    const Source source = MakeSource(bytes);
    // Not with ZIP_CHECKCONS: it would refuse an archive for what stands in the header of its spare block.
    const Archive archive = OpenArchive(source, ZIP_RDONLY);
    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    if (count > kMostEntries) {
        Fail("too many entries");
    }
    std::map<std::string, FolderArchive::Block> blocks;
    zip_uint64_t total = 0;
    for (zip_uint64_t i = 0; i < static_cast<zip_uint64_t>(count); ++i) {
        TakeEntry(archive.get(), i, spare, total, blocks);
    }
    return blocks;
}

// ---------------------------------------------------------------------------------------------------
// The directory at an archive's end: a header for each entry, then the end record. The library refuses all of it for
// one damaged header, so that of the spare block, which ToBytes writes last, is cut out here.

std::size_t Number(std::string_view bytes, std::size_t at, std::size_t size) {
    if (at > bytes.size() || size > bytes.size() - at) {
        Fail("truncated");
    }
    std::size_t value = 0;
    for (std::size_t i = size; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

// The lengths of what follows the fixed part of a header: name and extra field, and the comment of a directory's
// header.
std::size_t Tail(std::string_view bytes, std::size_t at, int lengths) {
    std::size_t sum = 0;
    for (int i = 0; i < lengths; ++i) {
        sum += Number(bytes, at + 2 * static_cast<std::size_t>(i), 2);
    }
    return sum;
}

constexpr std::size_t kEndRecord = 22;

// Where the last entry of an archive has its header in the directory and the one before its data; nothing when the
// directory does not lead there.
struct LastEntry {
    std::size_t header;
    std::size_t dataHeader;
};
std::optional<LastEntry> FindLastEntry(std::string_view bytes, std::size_t endRecord) {
    constexpr std::string_view kHeaderMark("PK\1\2", 4);
    constexpr std::size_t kHeader = 46;
    constexpr std::size_t kDataHeader = 30;
    const std::size_t count = Number(bytes, endRecord + 10, 2);
    LastEntry last{Number(bytes, endRecord + 16, 4), 0};
    for (std::size_t i = 1; i < count; ++i) {
        if (last.header > endRecord || !bytes.substr(last.header).starts_with(kHeaderMark)) {
            return std::nullopt;
        }
        const std::size_t start = Number(bytes, last.header + 42, 4);
        last.dataHeader = start + kDataHeader + Tail(bytes, start + 26, 2) + Number(bytes, last.header + 20, 4);
        last.header += kHeader + Tail(bytes, last.header + 28, 3);
    }
    return count > 0 && last.header <= endRecord ? std::optional(last) : std::nullopt;
}

// The archive without its last entry, if that is the spare block by the name before its data; otherwise empty.
std::string WithoutSpare(std::string_view bytes, std::string_view spare) {
    constexpr std::string_view kEndMark("PK\5\6", 4);
    constexpr std::size_t kNameInDataHeader = 30;
    const std::size_t end = bytes.size() - std::min(bytes.size(), kEndRecord);
    const bool isWhole = !spare.empty() && bytes.substr(end).starts_with(kEndMark);
    const std::optional<LastEntry> last = isWhole ? FindLastEntry(bytes, end) : std::nullopt;
    if (!last || last->dataHeader > end ||
        !bytes.substr(std::min(last->dataHeader + kNameInDataHeader, end)).starts_with(spare)) {
        return {};
    }
    std::string rest(bytes.substr(0, last->header));
    rest.append(bytes.substr(end));
    const auto put = [&](std::size_t at, std::size_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            rest[last->header + at + i] = static_cast<char>(value >> 8 * i);
        }
    };
    const std::size_t count = Number(bytes, end + 10, 2) - 1;
    put(8, count, 2);
    put(10, count, 2);
    put(12, last->header - Number(bytes, end + 16, 4), 4);
    return rest;
}

}  // namespace

FolderArchive FolderArchive::FromBytes(std::string_view bytes, std::string_view spare) {
    if (bytes.empty()) {
        Fail("empty");  // The library would take it for an archive without entries.
    }
    FolderArchive result;
    try {
        result.m_blocks = ReadEntries(bytes, spare);
    } catch (const std::runtime_error&) {
        const std::string rest = WithoutSpare(bytes, spare);
        if (rest.empty()) {
            throw;
        }
        result.m_blocks = ReadEntries(rest, spare);
        result.m_blocks.try_emplace(std::string(spare));
    }
    return result;
}

std::string FolderArchive::ToBytes() const {
    if (m_blocks.empty()) {
        // The library writes nothing at all for an archive without entries: its end record alone.
        std::string bytes("PK\5\6", 4);
        return bytes.append(18, '\0');
    }
    CheckSizes(m_blocks);
    const Source source = MakeSource({});
    Archive archive = OpenArchive(source, ZIP_TRUNCATE);
    const std::time_t date = FirstDate();
    for (const auto& [path, block] : m_blocks) {
        AddEntry(archive.get(), path, block, date);
    }
    if (zip_close(archive.get()) != 0) {
        Fail(ReasonOf(zip_get_error(archive.get())));
    }
    static_cast<void>(archive.release());  // Freed by its closing.
    return TakeBytes(source.get());
}

const FolderArchive::Block* FolderArchive::Find(const std::string& path) const noexcept {
    const auto found = m_blocks.find(path);
    return found != m_blocks.end() ? &found->second : nullptr;
}

void FolderArchive::Put(const std::string& path, Block block) {
    if (!TryPut(path, std::move(block))) {
        Fail(path + ": not a plain relative path");
    }
}

bool FolderArchive::TryPut(const std::string& path, Block block) {
    const bool sound = IsSoundPath(path);
    if (sound) {
        m_blocks.insert_or_assign(path, std::move(block));
    }
    return sound;
}

// ---------------------------------------------------------------------------------------------------
// The stream

class CFolderStream;
template <>
inline const tagREFString IObjectInfoImpl<CFolderStream>::m_ObjectName = Text(L"FolderStream");

class CFolderStream final : public FrameworkComponent<CFolderStream, IDataStream, IFolderStream> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IDataStream, IFolderStream>;

    CFolderStream(std::shared_ptr<FolderArchive> archive, std::string folder) noexcept
        : m_archive(std::move(archive)), m_path(std::move(folder)), m_folderLength(m_path.size()) {}

    Result WriteBinary(IString* name, const void* data, int bytes, int reserved) noexcept override {
        constexpr const char* kOperation = "IFolderStream::WriteBinary";
        if (!TakesArguments(kOperation, name, data, bytes, reserved)) {
            return E_INVALIDARG;
        }
        return Guarded(kOperation, [&] {
            const auto* first = static_cast<const std::uint8_t*>(data);
            const bool stored =
                FindPath(*name) && m_archive->TryPut(m_path, FolderArchive::Block(first, first + bytes));
            return stored ? S_OK : E_INVALIDARG;
        });
    }

    Result ReadBinary(IString* name, void* data, int bytes, int reserved) noexcept override {
        constexpr const char* kOperation = "IFolderStream::ReadBinary";
        if (!TakesArguments(kOperation, name, data, bytes, reserved)) {
            return E_INVALIDARG;
        }
        return Guarded(kOperation, [&] {
            const FolderArchive::Block* block = FindPath(*name) ? m_archive->Find(m_path) : nullptr;
            if (block == nullptr) {
                return E_FAIL;
            }
            const std::size_t wanted = static_cast<std::size_t>(bytes);
            std::copy_n(block->data(), std::min(block->size(), wanted), static_cast<std::uint8_t*>(data));
            return block->size() >= wanted ? S_OK : E_FAIL;
        });
    }

  private:
    static bool TakesArguments(const char* operation, const IString* name, const void* data, int bytes,
                               int reserved) noexcept {
        if (name == nullptr || bytes < 0 || (data == nullptr && bytes > 0)) {
            Misuse(operation, "null name or data, or a negative size");
            return false;
        }
        if (reserved != 0) {
            Misuse(operation, "the last argument is not 0");
            return false;
        }
        return true;
    }

    // Makes the path that of a block in this folder; false for a name that is no part of one.
    bool FindPath(IString& name) {
        tagREFString text{0, nullptr};
        if (Failed(name.GetText(&text.text, &text.length))) {
            return false;
        }
        m_path.resize(m_folderLength);
        if (!m_path.empty()) {
            m_path += '/';
        }
        const std::size_t start = m_path.size();
        return AppendUtf8(text, &m_path) && m_path.find('/', start) == m_path.npos;
    }

    std::shared_ptr<FolderArchive> m_archive;
    // That of the block looked for last. It begins with the folder's.
    std::string m_path;
    std::size_t m_folderLength;
};

SmartPtr<IDataStream> MakeFolderStream(std::shared_ptr<FolderArchive> archive, std::string folder) noexcept {
    return MakeObject<IDataStream, CFolderStream>(std::move(archive), std::move(folder));
}
