// Set files of the form .roi, through the code that loads and saves them.
//
// An input that begins like a zip file is one. Any other is a list of blocks, of which an archive is made,
// so that the fuzzer gets at what is in them: a name in one line, the number of bytes (two bytes), the bytes.
#include <stdexcept>

#include "fuzz/SetRules.h"
#include "fuzz/Target.h"

namespace {

std::string ArchiveOf(Input input) {
    FolderArchive archive;
    while (!input.AtEnd()) {
        std::string path;
        for (char c = '\0'; !input.AtEnd() && (c = static_cast<char>(input.Byte())) != '\n';) {
            path += c;
        }
        const auto size = input.Raw<std::uint16_t>();
        archive.Put(path, BlockOf(input.Bytes(size)));
    }
    return archive.ToBytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    try {
        bytes = bytes.starts_with("PK") ? bytes : ArchiveOf({data, size});
    } catch (const std::runtime_error&) {
        return 0;  // A name that no block may have.
    }
    LoadAndSave(bytes, host::ReadFolderSet, host::WriteFolderSet);
    return 0;
}
