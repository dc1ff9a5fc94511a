#include "contract/Components.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "contract/Module.h"

namespace {

constexpr tagREFString kDescriptorModule = Text(L"CollectionsEx");
constexpr tagREFString kDescriptorClass = Text(L"ComponentString");
constexpr tagREFString kInstanceModule = Text(L"Collections");
constexpr tagREFString kStringClass = Text(L"CreatableString");
constexpr tagREFString kVariantClass = Text(L"Variant");
constexpr tagREFString kCollectionClass = Text(L"SuperCollection");

// "./" + name + ".so". The extension follows right after the name's bytes, counted by its characters,
// so a name that does not convert one to one names no existing file.
struct ModuleFileName {
    static constexpr int kLongestName = 254;

    explicit ModuleFileName(tagREFString module) noexcept {
        const int length = std::clamp(module.length, 0, kLongestName);
        // The conversion wants a terminator, which a reference string does not have.
        wchar_t terminated[kLongestName + 1] = {};
        std::copy_n(module.text, length, terminated);
        std::memcpy(bytes, "./", 2);
        std::wcstombs(bytes + 2, terminated, static_cast<std::size_t>(length));
        std::memcpy(bytes + 2 + length, ".so", 4);
    }

    char bytes[2 + kLongestName + 4] = {};
};

// A new descriptor of one class of "Collections", or null.
SmartPtr<IComponentString> MakeDescriptor(tagREFString className) noexcept {
    SmartPtr<IComponentString> descriptor;
    const ComponentCreator create = MODULECreateFunction(kDescriptorModule, kDescriptorClass);
    if (create == nullptr || Failed(create(nullptr, &IID_IComponentString, descriptor.ReceiveVoid())) || !descriptor ||
        Failed(descriptor->SetString(kDescriptorModuleName, kInstanceModule)) ||
        Failed(descriptor->SetString(kDescriptorClassName, className))) {
        return nullptr;
    }
    return descriptor;
}

// Creates an instance of one class of "Collections" through a descriptor that is made on first use and
// kept until the module is unloaded. Only a whole descriptor is kept: its fields are never set again.
template <class Interface>
SmartPtr<Interface> CreateThrough(SmartPtr<IComponentString>& descriptor, tagREFString className) noexcept {
    if (!descriptor) {
        descriptor = MakeDescriptor(className);
    }
    SmartPtr<Interface> instance;
    if (!descriptor || Failed(descriptor->CreateInstance(IidOf<Interface>(), instance.ReceiveVoid()))) {
        return nullptr;
    }
    return instance;
}

// The descriptor registered in the global collection under the name "ParametersCreatable", or null.
SmartPtr<IComponentString> FindParametersCreatable() noexcept {
    constexpr tagREFString kName = Text(L"ParametersCreatable");
    const SmartPtr<IString> name = CREFString::CreateString();
    const SmartPtr<IComponentCollection> components = GLOBALComponents();
    if (!name || !components) {
        return nullptr;
    }
    for (int i = 0; i < kName.length; ++i) {
        name->Append(1, kName.text + i);
    }
    int index = 0;
    SmartPtr<IUnknown> item;
    if (Failed(components->FindByName(name.Get(), &index)) || Failed(components->GetItem(index, item.Receive()))) {
        return nullptr;
    }
    return SmartPtr<IComponentString>::QueryFrom(item.Get());
}

}  // namespace

SmartPtr<IComponentCollection> gGlobalComponentCollection;

void UseComponents(IComponentCollection* collection) noexcept {
    // Shared before the old one goes, so that giving the same collection twice is safe.
    auto shared = SmartPtr<IComponentCollection>::Share(collection);
    gGlobalComponentCollection.Reset();
    gGlobalComponentCollection = std::move(shared);
}

ComponentCreator MODULECreateFunction(tagREFString module, tagREFString className) noexcept {
    const ModuleFileName file(module);
    void* handle = dlopen(file.bytes, RTLD_NOW);
    if (handle == nullptr) {
        std::printf("Module not available %s, error %s\n", file.bytes, dlerror());
        dlerror();
        return nullptr;
    }
    const auto createFunction = reinterpret_cast<CreateFunctionEntry>(dlsym(handle, kCreateFunctionSymbol));
    if (createFunction == nullptr) {
        return nullptr;
    }
    ComponentCreator creator = nullptr;
    createFunction(className, &creator);
    return creator;
}

SmartPtr<IComponentCollection> GLOBALComponents() noexcept {
    if (!gGlobalComponentCollection) {
        const ComponentCreator create = MODULECreateFunction(kDescriptorModule, Text(L"GlobalComponentCollection"));
        if (create != nullptr) {
            create(nullptr, &IID_IComponentCollection, gGlobalComponentCollection.ReceiveVoid());
        }
    }
    return gGlobalComponentCollection;
}

SmartPtr<IString> CREFString::CreateString() noexcept {
    static SmartPtr<IComponentString> gStringComponent;
    return CreateThrough<ICreatableString>(gStringComponent, kStringClass);
}

SmartPtr<IVariant> CREFString::CreateVariant() noexcept {
    static SmartPtr<IComponentString> gVariantComponent;
    return CreateThrough<IVariant>(gVariantComponent, kVariantClass);
}

SmartPtr<ISuperCollection> CREFString::CreateCollection() noexcept {
    static SmartPtr<IComponentString> gCollectionComponent;
    return CreateThrough<ISuperCollection>(gCollectionComponent, kCollectionClass);
}

SmartPtr<IString> CreateStringOf(tagREFString text) noexcept {
    SmartPtr<IString> string = CREFString::CreateString();
    if (string && Failed(string->SetText(text.length, text.text))) {
        return nullptr;
    }
    return string;
}

SmartPtr<INamedCollection> BASEObject::CreateParameters() noexcept {
    static SmartPtr<IComponentString> gParametersCreatable;
    if (!gParametersCreatable) {
        gParametersCreatable = FindParametersCreatable();
    }
    SmartPtr<IParametersCreatable> parameters;
    if (!gParametersCreatable ||
        Failed(gParametersCreatable->CreateInstance(IID_IParametersCreatable, parameters.ReceiveVoid()))) {
        return nullptr;
    }
    return parameters;
}

void* CreateComponentAs(tagREFString className, const IID& iid) noexcept {
    const SmartPtr<IString> name = CreateStringOf(className);
    const SmartPtr<IComponentCollection> components = GLOBALComponents();
    if (!name || !components) {
        return nullptr;
    }
    // The collection takes the name as a record; it is read back from the string that carries it.
    tagREFString record{0, nullptr};
    void* component = nullptr;
    if (Failed(name->GetText(&record.text, &record.length)) ||
        Failed(components->CreateComponent(record, iid, &component))) {
        return nullptr;
    }
    return component;
}
