#include "host/figures/Session.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include "contract/Capabilities.h"
#include "contract/Components.h"
#include "framework/support/Utf8.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

namespace fs = std::filesystem;

// Makes a folder the current directory, and the one that was so before when it goes, even if that has no path any
// more.
class CurrentDirectory {
  public:
    explicit CurrentDirectory(const fs::path& folder) : m_before(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        if (chdir(folder.c_str()) != 0) {
            const int reason = errno;
            close(m_before);
            throw Error("cannot enter the folder of the modules", folder.string(),
                        std::generic_category().message(reason));
        }
    }
    ~CurrentDirectory() {
        // Without a way back there was none before either.
        static_cast<void>(fchdir(m_before) == 0);
        close(m_before);
    }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

  private:
    int m_before;
};

// Null for a name that is not registered.
ComponentCreator CreatorOf(CreateFunctionEntry createFunction, std::string_view className) {
    ComponentCreator creator = nullptr;
    createFunction(Text(FromUtf8(className)), &creator);
    return creator;
}

SmartPtr<IComponentCollection> FrameworkOf(ModuleFolder& modules) {
    const ModuleTrial trial = modules.Try("CollectionsEx");
    const auto createFunction = modules.Find<CreateFunctionEntry>("CollectionsEx", kCreateFunctionSymbol);
    const ComponentCreator create = CreatorOf(createFunction, "GlobalComponentCollection");
    SmartPtr<IComponentCollection> framework;
    if (create == nullptr || Failed(create(nullptr, &IID_IComponentCollection, framework.ReceiveVoid()))) {
        throw Error("cannot use module", (modules.Path() / "CollectionsEx.so").string(),
                    "it gives no component collection");
    }
    return framework;
}

bool MakesTextsAndLists(const ModuleFolder& modules) {
    const ModuleTrial trial = modules.Try("Collections");
    return CREFString::CreateString() && CREFString::CreateVariant() && CREFString::CreateCollection() &&
           BASEObject::CreateParameters();
}

// What is made once is kept, in this program and in the module: the siblings are not looked for again.
void FillCaches(const ModuleFolder& modules, const Figure& figure) {
    SmartPtr<INamedCollection> list;
    SmartPtr<INamedCollection> pages;
    const bool filled = MakesTextsAndLists(modules) &&
                        Succeeded(figure.As<IParametricObject>()->GetParameters(list.Receive(), 0)) &&
                        Succeeded(figure.As<IUIPropertyPageSpecify>()->GetPages(0, pages.Receive(), nullptr));
    if (!filled) {
        throw Error("cannot use module", "Collections.so", "it does not make what the module asks for");
    }
}

}  // namespace

Session::Session(const fs::path& folder) {
    const CurrentDirectory inFolder(folder);
    ModuleFolder modules(folder);
    // A sibling that is missing would show only later, one figure at a time and on standard output.
    for (const char* sibling : {"CollectionsEx", "Collections", "CIF", "Geometry"}) {
        modules.Require(sibling);
    }
    SmartPtr<IComponentCollection> framework = FrameworkOf(modules);
    m_components = SmartPtr<HostCollection>::Adopt(new HostCollection(std::move(modules), std::move(framework)));
    UseComponents(m_components.Get());
    ModuleFolder& opened = m_components->Modules();
    const ModuleTrial trial = opened.Try("ROI");
    m_initializeModule = opened.Find<InitializeModuleEntry>("ROI", kInitializeModuleSymbol);
    const auto createFigure = opened.Find<CreateFunctionEntry>("ROI", kCreateFunctionSymbol);
    for (const FigureClass* type : FigureClasses()) {
        if (const ComponentCreator creator = CreatorOf(createFigure, type->name)) {
            m_makers.push_back({type, creator});
        }
    }
    m_initializeModule(nullptr, m_components.Get());
    FillCaches(opened, Create("", FigureClasses().front()->name));
}

Session::~Session() {
    m_initializeModule(nullptr, nullptr);
    UseComponents(nullptr);
}

std::vector<std::string> Session::Classes() const {
    std::vector<std::string> classes;
    for (const Maker& maker : m_makers) {
        classes.emplace_back(maker.type->name);
    }
    return classes;
}

Figure Session::Create(const std::string& name, const std::string& className) const {
    const auto maker = std::find_if(m_makers.begin(), m_makers.end(),
                                    [&](const Maker& known) { return known.type->name == className; });
    if (maker == m_makers.end()) {
        throw UnknownName("class", className, Classes());
    }
    SmartPtr<IROI> roi;
    const Result code = maker->create(nullptr, &IidOf<IROI>(), roi.ReceiveVoid());
    if (code == E_FAIL) {
        throw std::bad_alloc();  // Which is all that a creation function means by it.
    }
    if (Failed(code)) {
        throw Error("cannot create", className, "the module refuses");
    }
    return {name, maker->type, std::move(roi), nullptr};
}

}  // namespace host
