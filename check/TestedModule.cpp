#include "check/TestedModule.h"

#include <dlfcn.h>

#include <array>
#include <numeric>

#include "contract/Components.h"
#include "framework/support/Utf8.h"

namespace {

constexpr const char* kDescriptors = "./CollectionsEx.so";
constexpr std::array kSiblings = {kDescriptors, "./Collections.so", "./CIF.so", "./Geometry.so"};

template <class Entry>
Entry EntryOf(void* module, const char* symbol) {
    const auto entry = reinterpret_cast<Entry>(dlsym(module, symbol));
    if (entry == nullptr) {
        throw CheckFailed{std::string("the entry point ") + symbol, "none"};
    }
    return entry;
}

int CountOf(const char* sibling, const char* count) {
    return reinterpret_cast<int (*)()>(dlsym(dlopen(sibling, RTLD_NOW), count))();
}

}  // namespace

TestedModule::TestedModule(const std::string& file) : m_file(file) {
    void* const module = dlopen(file.c_str(), RTLD_NOW);
    if (module == nullptr) {
        throw CheckFailed{"a module that loads", dlerror()};
    }
    m_initialize = EntryOf<InitializeModuleEntry>(module, kInitializeModuleSymbol);
    m_find = EntryOf<CreateFunctionEntry>(module, kCreateFunctionSymbol);
}

TestedModule::~TestedModule() {
    if (m_components) {
        Initialize(nullptr);
    }
}

void TestedModule::GiveFramework() {
    for (const char* sibling : kSiblings) {
        if (dlopen(sibling, RTLD_NOW) == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    const SmartPtr<IComponentCollection> framework = GLOBALComponents();
    if (!framework) {
        throw std::runtime_error("./CollectionsEx.so gives no component collection");
    }
    m_components.emplace(*framework, m_find);
    Initialize(&*m_components);
}

Result TestedModule::Create(const ClassContract& figure, IID iid, void** object, void* outer) const {
    const std::string_view className = figure.name;
    const std::wstring name(className.begin(), className.end());
    ComponentCreator create = nullptr;
    const Result found = Find(Text(name), &create);
    return found == S_OK && create != nullptr ? create(outer, &iid, object) : found;
}

void* TestedModule::NewAs(const ClassContract& figure, const IID& iid) const {
    void* object = nullptr;
    const Result code = Create(figure, iid, &object);
    if (code != S_OK || object == nullptr) {
        throw CheckFailed{std::string("a new ") + figure.name, CodeText(code)};
    }
    return object;
}

int TestedModule::LiveFrameworkObjects() const {
    return std::accumulate(kSiblings.begin(), kSiblings.end(), 0,
                           [](int count, const char* sibling) { return count + CountOf(sibling, "LiveObjects"); });
}

int TestedModule::MadeDescriptors() const { return CountOf(kDescriptors, "MadeObjects"); }
