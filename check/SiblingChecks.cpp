// The groups, and the first two: what leads to every other component.
#include "check/SiblingChecks.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "contract/IROI.h"
#include "contract/Module.h"
#include "framework/support/Utf8.h"

namespace {

constexpr std::array kGroups = {
    SiblingGroup{"descriptors", "CollectionsEx.so, and descriptors of the classes of Collections",
                 CheckSiblingDescriptors},
    SiblingGroup{"collection", "components by name, and folder streams where any are listed", CheckSiblingCollection},
    SiblingGroup{"strings", "texts", CheckSiblingStrings},
    SiblingGroup{"variants", "numbers", CheckSiblingVariants},
    SiblingGroup{"lists", "parameter lists, and that they save and load themselves", CheckSiblingLists},
    SiblingGroup{"pages", "collections of property pages", CheckSiblingPages},
    SiblingGroup{"images", "mask images", CheckSiblingImages},
    SiblingGroup{"drawing", "lines, arcs and fills in mask images", CheckSiblingDrawing},
    SiblingGroup{"figures", "the module's figures over these siblings", CheckSiblingFigures},
};

constexpr SiblingSlot kSetString{"ComponentString", 6, "IComponentString::SetString"};
constexpr SiblingSlot kCreateInstance{"ComponentString", 5, "IComponentString::CreateInstance"};
constexpr SiblingSlot kGetItem{"GlobalComponentCollection", 4, "IComponentCollection::GetItem"};
constexpr SiblingSlot kFindByName{"GlobalComponentCollection", 5, "IComponentCollection::FindByName"};
constexpr SiblingSlot kCreateComponent{"GlobalComponentCollection", 16, "IComponentCollection::CreateComponent"};

constexpr tagREFString kFirstModule = Text(L"CollectionsEx");
constexpr tagREFString kModule = Text(L"Collections");

/// A class that the module asks for, and as what.
struct Wanted {
    tagREFString className;
    IID iid;
    const char* interfaceName;
};

constexpr Wanted kDescribed[] = {{Text(L"CreatableString"), __IIDOfc("ICreatableString"), "ICreatableString"},
                                 {Text(L"Variant"), __IIDOfc("IVariant"), "IVariant"},
                                 {Text(L"SuperCollection"), __IIDOfc("ISuperCollection"), "ISuperCollection"}};
constexpr Wanted kNamed[] = {{Text(L"ParametersCreatable"), __IIDOfc("IParametersCreatable"), "IParametersCreatable"},
                             {Text(L"CIFImageCANVAS"), __IIDOfc("ICIFImageCANVAS"), "ICIFImageCANVAS"},
                             {Text(L"CIFGraphics"), __IIDOfc("ICIFGraphics"), "ICIFGraphics"},
                             {Text(L"ROIRectangle"), __IIDOfc("IROIRectangle"), "IROIRectangle"}};

std::string Arguments(const Wanted& wanted) {
    return fmt::format("\"{}\", {}", ToUtf8(wanted.className), wanted.interfaceName);
}

// What a creating operation handed out: the receiver has its only reference.
void ExpectNew(SiblingChecks& checks, Result code, const SmartPtr<IUnknown>& made) {
    checks.Succeeds(code);
    checks.Reads("references of", References(checks.Had(made)), 1);
}

void ExpectNone(SiblingChecks& checks, const SmartPtr<IUnknown>& made) { checks.Expect(!made, "null", "a component"); }

void CheckEntryPoint(SiblingChecks& checks) {
    checks.Begin("./CollectionsEx.so loads, with \"CreateFunction\"");
    void* const handle = dlopen("./CollectionsEx.so", RTLD_NOW);
    if (handle == nullptr) {
        throw CheckFailed{"a module that loads", dlerror()};
    }
    const auto createFunction = reinterpret_cast<CreateFunctionEntry>(dlsym(handle, kCreateFunctionSymbol));
    if (createFunction == nullptr) {
        throw CheckFailed{"the entry point", "none"};
    }
    // Only the length says where a name ends.
    constexpr tagREFString kLonger = Text(L"ComponentStrings");
    const struct {
        tagREFString name;
        bool known;
    } kNames[] = {{{15, kLonger.text}, true},
                  {{14, kLonger.text}, false},
                  {kLonger, false},
                  {Text(L"componentstring"), false},
                  {Text(L"NoSuchClass"), false}};
    for (const auto& [name, known] : kNames) {
        checks.Begin(fmt::format("CollectionsEx.so: CreateFunction(\"{}\")", ToUtf8(name)));
        ComponentCreator create = nullptr;
        createFunction(name, &create);
        checks.Expect((create != nullptr) == known, known ? "a creator" : "a null creator",
                      known ? "a null creator" : "a creator");
    }
}

SmartPtr<IComponentString> NewDescriptor(SiblingChecks& checks) {
    checks.Begin("ComponentString: its creator, with IComponentString");
    SmartPtr<IComponentString> descriptor;
    if (const ComponentCreator create = MODULECreateFunction(kFirstModule, Text(L"ComponentString"))) {
        checks.Succeeds(create(nullptr, &IID_IComponentString, descriptor.ReceiveVoid()));
    }
    return checks.Had(descriptor);
}

void Describe(SiblingChecks& checks, IComponentString& descriptor, int field, tagREFString value) {
    checks.On(kSetString, fmt::format("{}, \"{}\"", field, ToUtf8(value)));
    checks.Succeeds(descriptor.SetString(field, value));
}

// An instance of what a descriptor describes; empty where it says that it failed.
SmartPtr<IUnknown> Instance(IComponentString& descriptor, const IID& iid, Result* code) {
    SmartPtr<IUnknown> instance;
    *code = descriptor.CreateInstance(iid, instance.ReceiveVoid());
    return instance;
}

void CheckDescribed(SiblingChecks& checks) {
    Result code = S_OK;
    // Three at a time, filled before the first is used: none may share what it describes with another.
    std::array<SmartPtr<IComponentString>, std::size(kDescribed)> descriptors;
    for (std::size_t i = 0; i < descriptors.size(); ++i) {
        descriptors[i] = NewDescriptor(checks);
        checks.Reads("references of", References(descriptors[i]), 1);
        Describe(checks, *descriptors[i], kDescriptorModuleName, kModule);
        Describe(checks, *descriptors[i], kDescriptorClassName, kDescribed[i].className);
    }
    for (std::size_t i = 0; i < descriptors.size(); ++i) {
        checks.On(kCreateInstance,
                  fmt::format("{} of \"{}\"", kDescribed[i].interfaceName, ToUtf8(kDescribed[i].className)));
        const auto first = Instance(*descriptors[i], kDescribed[i].iid, &code);
        ExpectNew(checks, code, first);
        const auto second = Instance(*descriptors[i], kDescribed[i].iid, &code);
        ExpectNew(checks, code, second);
        checks.Expect(first.Get() != second.Get(), "another instance", "the same");
        checks.On(kCreateInstance, fmt::format("IROIMask of \"{}\"", ToUtf8(kDescribed[i].className)));
        ExpectNone(checks, Instance(*descriptors[i], __IIDOfc("IROIMask"), &code));
    }
    const auto unknown = NewDescriptor(checks);
    Describe(checks, *unknown, kDescriptorModuleName, kModule);
    Describe(checks, *unknown, kDescriptorClassName, Text(L"NoSuchClass"));
    checks.On(kCreateInstance, "IVariant of \"NoSuchClass\"");
    ExpectNone(checks, Instance(*unknown, __IIDOfc("IVariant"), &code));
}

void CheckLookUp(SiblingChecks& checks, IComponentCollection& collection) {
    // The name is only compared, by its characters: one string object asks for several.
    const SmartPtr<IString> name = SiblingString(checks, L"ParametersCreatableX");
    int index = -1;
    const auto absent = [&](std::wstring_view text) {
        name->SetText(static_cast<int>(text.size()), text.data());
        checks.On(kFindByName, fmt::format("\"{}\"", TextOf(*name)));
        const Result code = collection.FindByName(name.Get(), &index);
        checks.Expect(Failed(code), "a failure", CodeText(code));
    };
    absent(L"ParametersCreatableX");
    absent(L"NoSuchComponent");
    name->SetText(19, L"ParametersCreatable");
    checks.On(kFindByName, "\"ParametersCreatable\"");
    checks.Succeeds(collection.FindByName(name.Get(), &index));

    checks.On(kGetItem, fmt::format("{}, that of \"ParametersCreatable\"", index));
    SmartPtr<IUnknown> item;
    checks.Succeeds(collection.GetItem(index, item.Receive()));
    const int references = References(checks.Had(item));
    {
        SmartPtr<IUnknown> again;
        checks.Succeeds(collection.GetItem(index, again.Receive()));
        // One that the collection keeps is counted once more, one that is made for the asking has one owner.
        const bool isKept = again.Get() == item.Get();
        checks.Reads("references of", References(checks.Had(again)), isKept ? references + 1 : 1);
    }
    checks.Reads("after a release, references of", References(item), references);
    const auto descriptor = SmartPtr<IComponentString>::QueryFrom(item.Get());
    if (!descriptor) {
        throw CheckFailed{"an item that answers IComponentString", "a refusal"};
    }
    checks.On(kCreateInstance, "IParametersCreatable of \"ParametersCreatable\"");
    Result code = S_OK;
    const auto list = Instance(*descriptor, IID_IParametersCreatable, &code);
    ExpectNew(checks, code, list);
}

void CheckCreated(SiblingChecks& checks, IComponentCollection& collection, const Wanted& wanted) {
    SmartPtr<IUnknown> made;
    checks.On(kCreateComponent, Arguments(wanted));
    const Result code = collection.CreateComponent(wanted.className, wanted.iid, made.ReceiveVoid());
    ExpectNew(checks, code, made);
}

}  // namespace

std::span<const SiblingGroup> SiblingGroups() noexcept { return kGroups; }

CheckCounts RunSiblingGroup(const SiblingGroup& group, const std::string& folder, const std::string& module,
                            const CheckOptions& options) {
    return RunApart(group.name, options, [&](CheckProgress& progress) {
        if (chdir(folder.c_str()) != 0) {
            throw std::runtime_error(fmt::format("{}: {}", folder, std::strerror(errno)));
        }
        SiblingChecks checks(group.name, progress, module);
        group.run(checks);
    });
}

SmartPtr<IString> SiblingString(SiblingChecks& checks, std::wstring_view text) {
    return checks.Had(CreateStringOf(Text(text)));
}

std::string TextOf(IString& string) {
    tagREFString text{0, nullptr};
    const Result code = string.GetText(&text.text, &text.length);
    return Succeeded(code) ? ToUtf8(text) : CodeText(code);
}

void CheckSiblingDescriptors(SiblingChecks& checks) {
    CheckEntryPoint(checks);
    CheckDescribed(checks);
}

void CheckSiblingCollection(SiblingChecks& checks) {
    checks.Begin("GlobalComponentCollection: its creator, with IComponentCollection");
    const auto collection = checks.Had(GLOBALComponents());
    checks.Try([&] { CheckLookUp(checks, *collection); });
    for (const Wanted& wanted : kNamed) {
        checks.Try([&] { CheckCreated(checks, *collection, wanted); });
    }
    checks.On(kCreateComponent, "\"NoSuchClass\", IVariant");
    SmartPtr<IUnknown> none;
    collection->CreateComponent(Text(L"NoSuchClass"), IID_IVariant, none.ReceiveVoid());
    ExpectNone(checks, none);
    checks.Try([&] { CheckListedStreams(checks, *collection); });
}
