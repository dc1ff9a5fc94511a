// The exported symbols and the two entry points.
#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>

#include "check/ElfSymbols.h"
#include "check/Groups.h"
#include "check/TestedModule.h"
#include "framework/support/Utf8.h"

namespace {

// The bytes of a file, of which only those that are looked at are read.
class MappedFile {
  public:
    explicit MappedFile(const std::string& file) {
        const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor >= 0 && fstat(descriptor, &status) == 0) {
            m_size = static_cast<std::size_t>(status.st_size);
            m_data = mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, descriptor, 0);
        }
        close(descriptor);
        if (m_data == MAP_FAILED) {
            throw CheckFailed{"a file that can be read", "none"};
        }
    }
    ~MappedFile() { munmap(m_data, m_size); }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::string_view Bytes() const noexcept { return {static_cast<const char*>(m_data), m_size}; }

  private:
    void* m_data = MAP_FAILED;
    std::size_t m_size = 0;
};

void CheckSymbols(Checks& checks) {
    checks.Begin("the module exports its two entry points and nothing else");
    const std::set<std::string> wanted = {kCreateFunctionSymbol, kInitializeModuleSymbol};
    const std::set<std::string> exported = ExportedSymbols(MappedFile(checks.module.File()).Bytes());
    checks.Equal(fmt::format("{}", fmt::join(exported, " ")), fmt::format("{}", fmt::join(wanted, " ")));
}

void CheckNames(Checks& checks) {
    for (const ClassContract& figure : ClassContracts()) {
        checks.Begin(fmt::format("the module knows the class {}", figure.name));
        const auto name = FromUtf8(figure.name);
        ComponentCreator create = nullptr;
        checks.Code(checks.module.Find(Text(name), &create), S_OK);
        checks.Expect(create != nullptr, "a creation function", "null");
    }
}

void CheckRefusedNames(Checks& checks) {
    // Lengths count, not terminators.
    const tagREFString refused[] = {Text(L"roirectangle"),  Text(L"ROIRectangle "), Text(L" ROIRectangle"),
                                    Text(L"CROIRectangle"), Text(L"ROIEllipsf"),    Text(L"ROICircle"),
                                    {3, L"ROIEllipse"},     {0, L"ROIEllipse"},     {0, nullptr},
                                    {-1, L"ROIEllipse"}};
    constexpr ComponentCreator kPreset = [](void*, IID*, void**) -> Result { return E_FAIL; };
    for (const tagREFString& name : refused) {
        checks.Begin(fmt::format("no other name is a class: a text of length {}", name.length));
        ComponentCreator create = kPreset;
        checks.Code(checks.module.Find(name, &create), E_FAIL);
        checks.Expect(create == kPreset, "an untouched output", "a written one");
    }
}

void CheckCollectionIsHeldOnce(Checks& checks) {
    checks.Begin("the module holds one reference to the latest collection");
    TestedComponents& usual = checks.module.Components();
    TestedComponents first = usual;
    TestedComponents second = usual;
    first.references = second.references = 1;
    for (TestedComponents* given : {&first, &first, &second, &first, static_cast<TestedComponents*>(nullptr)}) {
        checks.Code(checks.module.Initialize(given), S_OK);
        checks.Equal(first.references, given == &first ? 2 : 1);
        checks.Equal(second.references, given == &second ? 2 : 1);
        checks.Equal(usual.references, 1);
    }
    checks.Code(checks.module.Initialize(&usual), S_OK);
    checks.Equal(usual.references, 2);
}

// The module may have the only reference to a collection that it is given again.
void CheckCollectionIsSharedFirst(Checks& checks) {
    checks.Begin("a collection that is given again is not let go of in between");
    class Watched final : public Lent<IComponentCollection> {
      public:
        bool wasLetGo = false;

        std::int32_t Release() noexcept override {
            wasLetGo = wasLetGo || references == 2;
            return Lent::Release();
        }
        Result GetItem(int, IUnknown**) noexcept override { return E_FAIL; }
        Result FindByName(IString*, int*) noexcept override { return E_FAIL; }
        Result CreateComponent(tagREFString, const IID&, void**) noexcept override { return E_FAIL; }
    } collection;
    for (int i = 0; i < 2; ++i) {
        checks.Code(checks.module.Initialize(&collection), S_OK);
    }
    checks.Expect(!collection.wasLetGo, "a reference at any time", "none in between");
    checks.Code(checks.module.Initialize(&checks.module.Components()), S_OK);
    checks.Equal(collection.references, 1);
}

}  // namespace

void CheckExports(Checks& checks) {
    CheckSymbols(checks);
    CheckNames(checks);
    CheckRefusedNames(checks);
    CheckCollectionIsHeldOnce(checks);
    CheckCollectionIsSharedFirst(checks);
}
