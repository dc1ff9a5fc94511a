#include "framework/support/FolderStream.h"

#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <zlib.h>

#include <algorithm>
#include <future>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>

#include "framework/FrameworkComponent.h"
#include "framework/support/Utf8.h"

// ---------------------------------------------------------------------------------------------------
// Bytes as the file that the library reads and writes

namespace {

constexpr std::uint64_t kMostEntries = 200000;
constexpr std::uint64_t kLargestTotal = std::uint64_t{256} << 20;
constexpr std::size_t kLongestPath = 65535;
constexpr std::string_view kEndMark("PK\5\6", 4);
constexpr const char* kDirectory = "the directory";
// Deflating saves less than a small block's entry in the archive takes.
constexpr std::size_t kSmallBlock = 4096;

[[noreturn]] void Fail(const std::string& reason) { throw std::runtime_error(reason); }

// Of an entry, by what the library answers; a lack of memory is no failure of the archive's.
[[noreturn]] void Fail(const std::string& path, int code) {
    if (code == UNZ_INTERNALERROR || code == Z_MEM_ERROR) {
        throw std::bad_alloc();
    }
    Fail(path + (code == UNZ_CRCERROR ? ": the check sum differs" : ": damaged data"));
}

// Bytes that are read, or written where `output` is one.
struct MemoryFile {
    std::string_view bytes;
    std::string* output = nullptr;
    std::size_t at = 0;
    bool isShort = false;  // more was to be read than there is
    bool lacksMemory = false;

    std::size_t Size() const noexcept { return output != nullptr ? output->size() : bytes.size(); }
};

MemoryFile& FileOf(voidpf stream) noexcept { return *static_cast<MemoryFile*>(stream); }

uLong Read(voidpf /*opaque*/, voidpf stream, void* buffer, uLong size) noexcept {
    MemoryFile& file = FileOf(stream);
    if (size == 1 && file.at < file.bytes.size()) {  // Most are.
        *static_cast<char*>(buffer) = file.bytes[file.at++];
        return 1;
    }
    const std::size_t count = std::min<std::size_t>(size, file.bytes.size() - std::min(file.at, file.bytes.size()));
    std::copy_n(file.bytes.data() + file.at, count, static_cast<char*>(buffer));
    file.at += count;
    file.isShort |= count < size;
    return count;
}

uLong Write(voidpf /*opaque*/, voidpf stream, const void* buffer, uLong size) noexcept {
    MemoryFile& file = FileOf(stream);
    try {
        file.output->resize(std::max(file.output->size(), file.at + size));
    } catch (const std::bad_alloc&) {
        file.lacksMemory = true;
        return 0;
    }
    std::copy_n(static_cast<const char*>(buffer), size, file.output->data() + file.at);
    file.at += size;
    return size;
}

long Seek(voidpf /*opaque*/, voidpf stream, ZPOS64_T offset, int origin) noexcept {
    MemoryFile& file = FileOf(stream);
    const std::size_t base = origin == ZLIB_FILEFUNC_SEEK_SET   ? 0
                             : origin == ZLIB_FILEFUNC_SEEK_CUR ? file.at
                                                                : file.Size();
    if (offset > file.Size() - base) {
        return -1;
    }
    file.at = base + offset;
    return 0;
}

zlib_filefunc64_def FunctionsOf(MemoryFile& file) noexcept {
    return {.zopen64_file = [](voidpf opaque, const void* /*name*/, int /*mode*/) { return opaque; },
            .zread_file = Read,
            .zwrite_file = Write,
            .ztell64_file = [](voidpf /*opaque*/, voidpf stream) -> ZPOS64_T { return FileOf(stream).at; },
            .zseek64_file = Seek,
            .zclose_file = [](voidpf /*opaque*/, voidpf /*stream*/) { return 0; },
            .zerror_file = [](voidpf /*opaque*/,
                              voidpf stream) { return FileOf(stream).isShort || FileOf(stream).lacksMemory ? 1 : 0; },
            .opaque = &file};
}

// ---------------------------------------------------------------------------------------------------
// The archive

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

// A number as it stands in an archive.
std::string BytesOf(std::uint64_t number, std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(number);
        number >>= 8;
    }
    return bytes;
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

// A header of the directory.
constexpr std::string_view kHeaderMark("PK\1\2", 4);
constexpr std::size_t kHeader = 46;

struct Entry {
    std::string path;
    bool isFolder = false;
    std::size_t size = 0;
    unz64_file_pos place{};
};

// Why an entry cannot be read; nothing when it can.
const char* TroubleWith(std::size_t flags, std::size_t method, std::size_t size, std::size_t largest) noexcept {
    constexpr std::size_t kEncrypted = 1;
    if ((flags & kEncrypted) != 0) {
        return ": encrypted";
    }
    // The two that are written, whose memory does not depend on what a file says.
    if (method != 0 && method != Z_DEFLATED) {
        return ": unknown compression";
    }
    return size > largest ? ": declared size too large" : nullptr;
}

// The entry whose header lies at a place of the archive, which the library would read byte by byte.
Entry EntryAt(std::string_view bytes, std::size_t at, std::string_view spare, std::size_t largest) {
    if (!bytes.substr(std::min(at, bytes.size())).starts_with(kHeaderMark)) {
        Fail(kDirectory, UNZ_BADZIPFILE);
    }
    const std::size_t length = Number(bytes, at + 28, 2);
    Entry entry;
    entry.path = bytes.substr(at, kHeader + length).substr(kHeader);
    entry.size = Number(bytes, at + 24, 4);
    entry.isFolder = entry.path.ends_with('/');
    if (entry.isFolder) {
        entry.path.pop_back();
    }
    if (!IsSoundPath(entry.path)) {
        Fail(entry.path + ": not a plain relative path");
    }
    const char* const trouble = TroubleWith(Number(bytes, at + 8, 2), Number(bytes, at + 10, 2), entry.size, largest);
    if (trouble != nullptr && entry.path != spare) {
        Fail(entry.path + trouble);
    }
    entry.size = trouble == nullptr && !entry.isFolder ? entry.size : 0;  // A spare one in trouble is taken for empty.
    return entry;
}

// An archive as the library reads it, opened when it is wanted.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : m_file{bytes} {}

    unzFile Get() {
        if (m_archive == nullptr) {
            zlib_filefunc64_def functions = FunctionsOf(m_file);
            m_archive.reset(unzOpen2_64("", &functions));
        }
        if (m_archive == nullptr) {
            Fail("not a zip archive");
        }
        return m_archive.get();
    }

  private:
    MemoryFile m_file;
    std::unique_ptr<void, int (*)(unzFile)> m_archive{nullptr, unzClose};
};

// The entries that the directory names, in its order.
std::vector<Entry> EntriesOf(std::string_view bytes, std::string_view spare) {
    Reader archive(bytes);
    unz_global_info64 directory{};
    unz64_file_pos place{};
    if (unzGetGlobalInfo64(archive.Get(), &directory) != UNZ_OK || unzGoToFirstFile(archive.Get()) != UNZ_OK ||
        unzGetFilePos64(archive.Get(), &place) != UNZ_OK) {
        Fail(kDirectory, UNZ_BADZIPFILE);
    }
    if (directory.number_entry > kMostEntries) {
        Fail("too many entries");
    }
    std::vector<Entry> entries;
    std::uint64_t total = 0;
    std::size_t at = place.pos_in_zip_directory;
    for (ZPOS64_T i = 0; i < directory.number_entry; ++i) {
        Entry& entry = entries.emplace_back(EntryAt(bytes, at, spare, kLargestTotal - total));
        entry.place = {at, i};
        total += entry.size;
        at += kHeader + Tail(bytes, at + 28, 3);
    }
    // Otherwise a damaged count would silently drop the entries behind it.
    constexpr std::size_t kNotTold = 0xFFFFFFFF;
    const std::size_t told = Number(bytes, bytes.rfind(kEndMark) + 12, 4);
    if (told != at - place.pos_in_zip_directory && told != kNotTold) {
        Fail(kDirectory, UNZ_BADZIPFILE);
    }
    return entries;
}

// The block of an entry whose bytes lie in the archive as they are. Nothing where they do not, and where anything is in
// doubt: the library knows more ways to read it, and says what is wrong.
std::optional<FolderArchive::Block> StoredBlock(std::string_view bytes, const Entry& entry) {
    constexpr std::string_view kMark("PK\3\4", 4);
    constexpr std::size_t kLength = 30;
    // What both headers of an entry tell: flags, method, time, check sum, sizes, length of the name.
    constexpr std::size_t kTold = 22;
    const std::size_t at = entry.place.pos_in_zip_directory;
    const std::size_t place = std::min(Number(bytes, at + 42, 4), bytes.size());
    const std::string_view header = bytes.substr(place, kLength);
    const bool isStored = Number(bytes, at + 10, 2) == 0 && Number(bytes, at + 20, 4) == entry.size;
    if (!isStored || header.size() < kLength || !header.starts_with(kMark) ||
        header.substr(6, kTold) != bytes.substr(at + 8, kTold)) {
        return std::nullopt;
    }
    const std::string_view rest = bytes.substr(place);
    const std::string_view block = rest.substr(std::min(kLength + Tail(header, 26, 2), rest.size()), entry.size);
    const auto* const data = reinterpret_cast<const std::uint8_t*>(block.data());
    if (block.size() < entry.size || crc32_z(0, data, block.size()) != Number(bytes, at + 16, 4)) {
        return std::nullopt;
    }
    return FolderArchive::Block(data, data + block.size());
}

FolderArchive::Block ReadEntry(unzFile archive, const Entry& entry) {
    int code = unzGoToFilePos64(archive, &entry.place);
    if (code == UNZ_OK) {
        code = unzOpenCurrentFile(archive);
    }
    if (code != UNZ_OK) {
        Fail(entry.path, code);
    }
    FolderArchive::Block block(entry.size);
    const int read = unzReadCurrentFile(archive, block.data(), static_cast<unsigned>(block.size()));
    const int closed = unzCloseCurrentFile(archive);  // It compares the check sum.
    if (read < 0 || closed != UNZ_OK) {
        Fail(entry.path, read < 0 ? read : closed);
    }
    if (static_cast<std::size_t>(read) != block.size()) {
        Fail(entry.path, UNZ_BADZIPFILE);
    }
    return block;
}

FolderArchive::Block ReadSpareEntry(unzFile archive, const Entry& entry) {
    try {
        return ReadEntry(archive, entry);
    } catch (const std::runtime_error&) {
        return {};
    }
}

using Blocks = std::vector<FolderArchive::Block>;

// The bytes of some entries; none of folders, which follow from the paths of their blocks.
Blocks ReadBlocks(std::string_view bytes, std::span<const Entry> entries, std::string_view spare) {
    Reader archive(bytes);
    Blocks blocks;
    blocks.reserve(entries.size());
    for (const Entry& entry : entries) {
        if (entry.isFolder) {
            blocks.emplace_back();
        } else if (auto stored = StoredBlock(bytes, entry)) {
            blocks.push_back(std::move(*stored));
        } else {
            blocks.push_back(entry.path == spare ? ReadSpareEntry(archive.Get(), entry)
                                                 : ReadEntry(archive.Get(), entry));
        }
    }
    return blocks;
}

// The same for all, of which every processor reads a part. Where there is no thread to be had, this one reads it.
Blocks ReadAllBlocks(std::string_view bytes, std::span<const Entry> entries, std::string_view spare) {
    constexpr std::size_t kWorthAThread = 2000;
    // Asking for the processors opens a file.
    const std::size_t processors =
        entries.size() > kWorthAThread ? std::max(std::thread::hardware_concurrency(), 1U) : 1;
    const std::size_t share = std::max((entries.size() + processors - 1) / processors, kWorthAThread);
    std::vector<std::future<Blocks>> others;
    for (std::size_t first = share; first < entries.size(); first += share) {
        others.push_back(std::async(std::launch::async | std::launch::deferred, ReadBlocks, bytes,
                                    entries.subspan(first, std::min(share, entries.size() - first)), spare));
    }
    Blocks all = ReadBlocks(bytes, entries.first(std::min(share, entries.size())), spare);
    for (std::future<Blocks>& other : others) {
        std::ranges::move(other.get(), std::back_inserter(all));
    }
    return all;
}

std::map<std::string, FolderArchive::Block> ReadEntries(std::string_view bytes, std::string_view spare) {
    std::vector<Entry> entries = EntriesOf(bytes, spare);
    Blocks read = ReadAllBlocks(bytes, entries, spare);
    std::map<std::string, FolderArchive::Block> blocks;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].isFolder) {
            continue;
        }
        // Archives are written in the order of their paths, so that each has its place behind those before it.
        const std::size_t before = blocks.size();
        const auto block = blocks.try_emplace(blocks.end(), std::move(entries[i].path), std::move(read[i]));
        if (blocks.size() == before) {
            Fail(block->first + ": more than one entry of this name");
        }
    }
    return blocks;
}

// The end record alone, which the library takes for no archive.
std::string EmptyArchive() { return std::string(kEndMark).append(18, '\0'); }

// Nothing is written that could not be read back.
void CheckSizes(const std::map<std::string, FolderArchive::Block>& blocks) {
    std::uint64_t total = 0;
    for (const auto& [path, block] : blocks) {
        total += block.size();
    }
    if (total > kLargestTotal || blocks.size() > kMostEntries) {
        Fail("too large for an archive");
    }
}

void WriteEntry(zipFile archive, const std::string& path, const FolderArchive::Block& block) {
    constexpr uLong kUnix = 3 << 8 | 20;
    constexpr uLong kUtf8 = 1 << 11;
    zip_fileinfo info{};
    info.dosDate = 1 << 21 | 1 << 16;  // The first date there is, so that the same blocks give the same bytes.
    const int method = block.size() < kSmallBlock ? 0 : Z_DEFLATED;
    int code = zipOpenNewFileInZip4_64(archive, path.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, method,
                                       Z_DEFAULT_COMPRESSION, 0, -MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY, nullptr,
                                       0, kUnix, kUtf8, 0);
    if (code == ZIP_OK) {
        code = zipWriteInFileInZip(archive, block.data(), static_cast<unsigned>(block.size()));
    }
    if (code == ZIP_OK) {
        code = zipCloseFileInZip(archive);
    }
    if (code != ZIP_OK) {  // In memory there is no other cause.
        throw std::bad_alloc();
    }
}

// The end record counts to 65,535 entries. Of more a longer record before it tells, which the library reads, but writes
// only for archives beyond 4 GB.
void TellOfMoreEntries(std::size_t count, std::string& bytes) {
    if (count <= 0xFFFF) {
        return;
    }
    const std::size_t end = bytes.size() - kEndRecord;
    const std::string version = BytesOf(45, 2);
    std::string record("PK\6\6", 4);
    record += BytesOf(44, 8) + version + version;      // what follows of it, and who wrote and reads it
    record += BytesOf(0, 8);                           // the only part of the archive
    record += BytesOf(count, 8) + BytesOf(count, 8);   // in that part, and in all
    record += BytesOf(Number(bytes, end + 12, 4), 8);  // the directory's size and place
    record += BytesOf(Number(bytes, end + 16, 4), 8);
    record += std::string_view("PK\6\7", 4);
    record += BytesOf(0, 4) + BytesOf(end, 8) + BytesOf(1, 4);  // where the record begins, of how many parts
    bytes.insert(end, record);
}

// ---------------------------------------------------------------------------------------------------
// The directory at an archive's end: a header for each entry, then the end record. What it says of the spare block,
// which ToBytes writes last, is cut out here where it is damaged.

// Where the last entry of an archive has its header in the directory and the one before its data; nothing when the
// directory does not lead there.
struct LastEntry {
    std::size_t header;
    std::size_t dataHeader;
};
std::optional<LastEntry> FindLastEntry(std::string_view bytes, std::size_t endRecord) {
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
    const std::string count = BytesOf(Number(bytes, end + 10, 2) - 1, 2);
    const std::string size = BytesOf(last->header - Number(bytes, end + 16, 4), 4);
    rest.replace(last->header + 8, 8, count + count + size);
    return rest;
}

}  // namespace

FolderArchive FolderArchive::FromBytes(std::string_view bytes, std::string_view spare) {
    FolderArchive result;
    if (bytes == EmptyArchive()) {
        return result;
    }
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
    CheckSizes(m_blocks);
    std::string bytes;
    MemoryFile file{{}, &bytes};
    zlib_filefunc64_def functions = FunctionsOf(file);
    const auto close = [](zipFile archive) { return zipClose(archive, nullptr); };
    std::unique_ptr<void, decltype(close)> archive(zipOpen2_64("", APPEND_STATUS_CREATE, nullptr, &functions), close);
    if (archive == nullptr) {
        throw std::bad_alloc();
    }
    for (const auto& [path, block] : m_blocks) {
        WriteEntry(archive.get(), path, block);
    }
    if (close(archive.release()) != ZIP_OK || file.lacksMemory) {
        throw std::bad_alloc();
    }
    TellOfMoreEntries(m_blocks.size(), bytes);
    return bytes;
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
    // The one that is asked for most comes first.
    using Answers = InterfaceMap<IFolderStream, IDataStream, IObjectInfo>;

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
