// A first host: loads the module, makes a rectangle, drags one of its nodes, reads its parameters, saves it
// and loads it into another. Whoever is handed a reference owns it: SmartPtr releases them all.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "contract/Components.h"  // CreateStringOf, GLOBALComponents: what the sibling modules give
#include "contract/IROI.h"
#include "contract/Module.h"  // the entry points of ROI.so

// Figures save themselves into a stream of the host's. This one keeps named blocks in memory. Component
// gives it a reference count and answers QueryInterface for what Answers lists.
class MemoryStream;
template <>
const tagREFString IObjectInfoImpl<MemoryStream>::m_ObjectName = Text(L"MemoryStream");

class MemoryStream final : public Component<MemoryStream, IDataStream, IFolderStream> {
  public:
    using Answers = InterfaceMap<IDataStream, IFolderStream>;

    Result WriteBinary(IString* name, const void* data, int bytes, int /*reserved*/) noexcept override {
        m_blocks[NameOf(*name)].assign(static_cast<const char*>(data), static_cast<std::size_t>(bytes));
        return S_OK;
    }
    Result ReadBinary(IString* name, void* data, int bytes, int /*reserved*/) noexcept override {
        const std::string& block = m_blocks[NameOf(*name)];
        if (block.size() < static_cast<std::size_t>(bytes)) {
            return E_FAIL;
        }
        std::memcpy(data, block.data(), static_cast<std::size_t>(bytes));
        return S_OK;
    }

  private:
    static std::wstring NameOf(IString& name) {
        tagREFString text{0, nullptr};  // not terminated: only the length counts
        name.GetText(&text.text, &text.length);
        return {text.text, static_cast<std::size_t>(text.length)};
    }

    std::map<std::wstring, std::string> m_blocks;
};

void Check(bool done, const char* what) {
    if (!done) {
        std::fprintf(stderr, "minimal_host: cannot %s\n", what);
        std::exit(1);
    }
}

double Parameter(INamedCollection& parameters, tagREFString name) {
    int index = 0;
    SmartPtr<IUnknown> item;
    Check(Succeeded(parameters.FindByName(CreateStringOf(name).Get(), &index)), "find a parameter");
    Check(Succeeded(parameters.GetItem(index, item.Receive())), "get a parameter");
    return SmartPtr<IVariant>::QueryFrom(item.Get())->GetDouble();
}

void PrintParameters(const char* title, IROIRectangle* figure) {
    SmartPtr<INamedCollection> parameters;
    const auto parametric = SmartPtr<IParametricObject>::QueryFrom(figure);
    Check(Succeeded(parametric->GetParameters(parameters.Receive(), 0)), "list the parameters");
    std::printf("%s: centre %g, %g, size %g x %g, angle %g degrees\n", title, Parameter(*parameters, Text(L"CenterX")),
                Parameter(*parameters, Text(L"CenterY")), Parameter(*parameters, Text(L"Width")),
                Parameter(*parameters, Text(L"Height")), Parameter(*parameters, Text(L"Angle")));
}

SmartPtr<IROIRectangle> MakeRectangle(CreateFunctionEntry createFunction) {
    ComponentCreator create = nullptr;
    SmartPtr<IROIRectangle> rectangle;
    Check(Succeeded(createFunction(Text(L"ROIRectangle"), &create)), "find the class");
    Check(Succeeded(create(nullptr, &IID_IROIRectangle, rectangle.ReceiveVoid())), "create a rectangle");
    return rectangle;
}

void UseRectangles(CreateFunctionEntry createFunction) {
    const SmartPtr<IROIRectangle> rectangle = MakeRectangle(createFunction);
    PrintParameters("new    ", rectangle.Get());

    // Corner 4 goes to the point and corner 2, opposite, stays; the roll grip then turns the figure.
    rectangle->SetCornerPoint(kNodeCorner4, 125.0, 85.0);
    rectangle->SetCornerPoint(kNodeRollGrip, 125.0, 105.0);
    PrintParameters("dragged", rectangle.Get());
    std::printf("holds 75, 55: %s\n", Succeeded(rectangle->HitTest(75.0, 55.0, nullptr)) ? "yes" : "no");

    const auto stream = SmartPtr<IDataStream>::Adopt(new MemoryStream);
    SmartPtr<IDataPersist>::QueryFrom(rectangle.Get())->Save(stream.Get(), 0);
    const SmartPtr<IROIRectangle> copy = MakeRectangle(createFunction);
    Check(Succeeded(SmartPtr<IDataPersist>::QueryFrom(copy.Get())->Load(stream.Get(), 0)), "load the rectangle");
    PrintParameters("loaded ", copy.Get());
}

int main() {
    // Modules find one another as "./Name.so": work from their folder.
    Check(chdir(ROI_MODULE_DIR) == 0, "enter the folder of the modules");
    void* const module = dlopen("./ROI.so", RTLD_NOW);
    Check(module != nullptr, "load ROI.so");
    const auto initialize = reinterpret_cast<InitializeModuleEntry>(dlsym(module, kInitializeModuleSymbol));
    const auto createFunction = reinterpret_cast<CreateFunctionEntry>(dlsym(module, kCreateFunctionSymbol));
    Check(initialize != nullptr && createFunction != nullptr, "find the entry points");

    const SmartPtr<IComponentCollection> components = GLOBALComponents();  // from CollectionsEx.so
    Check(static_cast<bool>(components), "get the component collection");
    initialize(nullptr, components.Get());
    UseRectangles(createFunction);
    initialize(nullptr, nullptr);  // the module lets go of the collection
    dlclose(module);               // and may leave, as no figure is alive any more
}
