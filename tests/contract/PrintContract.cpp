// Prints a table of the binary contract: slots, sizes or identifiers.
#include <cxxabi.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <typeinfo>

#include "contract/IROI.h"

namespace {

// A pointer to a virtual operation holds one more than its offset in the table.
template <class Operation>
int SlotOf(Operation operation) {
    std::uintptr_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return static_cast<int>((offset - 1) / sizeof(void*));
}

// What a class may add after the last slot tells how many there are.
template <class Interface>
struct Longer : Interface {
    virtual void Added() noexcept;

  protected:
    ~Longer() = default;
};

// `int (double*, double*)` of a pointer to an operation, without the interface in the middle.
std::string TypeText(const std::type_info& type) {
    const std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr),
                                                      std::free);
    std::string signature = text.get();
    const std::size_t start = signature.find('(');
    return signature.erase(start, signature.find(')') + 1 - start);
}

void PrintSlots() {
#define INTERFACE(name) std::printf("%s: %d slots\n", #name, SlotOf(&Longer<name>::Added));
#define OPERATION(interface, name) \
    std::printf("  %2d %s  %s\n", SlotOf(&interface::name), #name, TypeText(typeid(&interface::name)).c_str());
#include "operations.inc"
}

void PrintSizes() {
#define SIZE(type) std::printf("%s: %zu bytes, aligned to %zu\n", #type, sizeof(type), alignof(type));
#define MEMBER(type, member) std::printf("  %s at %zu\n", #member, offsetof(type, member));
    SIZE(IID)
    MEMBER(IID, words)
    SIZE(tagREFString)
    MEMBER(tagREFString, length)
    MEMBER(tagREFString, text)
    SIZE(Result)
    SIZE(wchar_t)
    SIZE(ROICorner)
    SIZE(ROIPROFILENode)
    SIZE(void*)
}

void PrintIdentifier(const char* name, const IID& iid) {
    std::printf("%-26s", name);
    for (int i = 0; i < 16; ++i) {
        std::printf(" %02X", (iid.words[i / 4] >> (i % 4 * 8)) & 0xFFu);
    }
    std::printf("\n");
}

void PrintIdentifiers() {
    PrintIdentifier("IUnknown", IID_IUnknown);
#define IDENTIFIER(name) PrintIdentifier(#name, IID_##name);
    FRAMEWORK_INTERFACES(IDENTIFIER)
}

}  // namespace

int main(int argc, char** argv) {
    const std::string table = argc == 2 ? argv[1] : "";
    table == "slots" ? PrintSlots() : table == "sizes" ? PrintSizes() : PrintIdentifiers();
    return 0;
}
