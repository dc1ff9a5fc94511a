#include "host/base/LateModule.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "host/base/Descriptor.h"
#include "host/base/Error.h"
#include "host/base/ModuleFolder.h"
#include "host/base/ModuleTrial.h"

namespace host {

namespace {

bool IsWhole(const Descriptor& file) {
    struct stat status {};
    Elf64_Ehdr header{};
    if (fstat(file.Number(), &status) != 0 || pread(file.Number(), &header, sizeof header, 0) != sizeof header ||
        !std::equal(header.e_ident, header.e_ident + SELFMAG, ELFMAG) || header.e_phentsize != sizeof(Elf64_Phdr)) {
        return true;
    }
    std::vector<Elf64_Phdr> parts(header.e_phnum);
    const auto bytes = static_cast<ssize_t>(parts.size() * sizeof(Elf64_Phdr));
    const auto size = static_cast<Elf64_Off>(status.st_size);
    const auto isCut = [size](const Elf64_Phdr& part) {
        return part.p_offset > size || part.p_filesz > size - part.p_offset;
    };
    return pread(file.Number(), parts.data(), static_cast<std::size_t>(bytes), static_cast<off_t>(header.e_phoff)) ==
               bytes &&
           std::none_of(parts.begin(), parts.end(), isCut);
}

}  // namespace

bool CheckWhole(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.Number() >= 0 && !IsWhole(file)) {
        throw Error("cannot load module", path, "the file is cut short");
    }
    return file.Number() >= 0;
}

void* SymbolOf(const char* module, const char* symbol) {
    const std::string path = (DefaultModuleFolder() / module).string();
    CheckWhole(path);
    const ModuleTrial trial(path);
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const found = handle != nullptr ? dlsym(handle, symbol) : nullptr;
    if (found == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return found;
}

}  // namespace host
