#include "Faults.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <ostream>

#include <pugixml.hpp>

#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"

namespace {

Fault gFault;
bool gArmed = false;
long gCalls = 0;
bool gHappened = false;
bool gIgnored = false;

bool NextCallFails(bool examined) {
    if (!gArmed) {
        return false;
    }
    ++gCalls;
    const bool fails =
        gFault.kind == FaultKind::kCall && (gFault.fromThenOn ? gCalls >= gFault.first : gCalls == gFault.first);
    gHappened = gHappened || fails;
    gIgnored = gIgnored || (fails && !examined);
    return fails;
}

/// One operation of an interface, caught in the tables of objects: a call that is to fail returns E_FAIL and
/// writes nothing; any other goes on to where the table pointed before.
template <auto operation>
struct Caught;

template <auto operation, auto... others>
constexpr bool kIsOneOf = (std::is_same_v<Caught<operation>, Caught<others>> || ...);

/// The names of entries are read by the lists they are added to.
template <auto operation>
constexpr bool kIsExamined =
    !kIsOneOf<operation, &IVariant::SetInteger, &IVariant::SetDouble, &IString::GetText, &INamedCollection::Add,
              &ISuperCollection::AddPage, &IGeometricAssembly::GetElement, &IPoints::GetPoint, &ICIF::GetSize,
              &ICIF::Create, &ICIF::Fill, &ICIFGraphics::Attach, &ICIFGraphics::SetColor, &ICIFGraphics::Line,
              &ICIFGraphics::FloodFill, &ICIFGraphics::Arc>;

template <class I, class... Arguments, Result (I::*operation)(Arguments...) noexcept>
struct Caught<operation> {
    using Function = Result (*)(I*, Arguments...);
    static inline std::map<Function*, Function> originals;

    static Function* TableOf(I* object) { return *reinterpret_cast<Function**>(object); }
    static Result Call(I* self, Arguments... arguments) {
        return NextCallFails(kIsExamined<operation>) ? E_FAIL
                                                     : originals.find(TableOf(self))->second(self, arguments...);
    }
    static void In(I* object) {
        // A pointer to a virtual member holds its offset in the table, plus 1.
        auto member = operation;
        std::size_t offset = 0;
        std::memcpy(&offset, &member, sizeof offset);
        Function* const table = TableOf(object);
        Function* const slot = table + (offset - 1) / sizeof(Function);
        if (*slot == &Call) {
            return;
        }
        originals.emplace(table, *slot);
        // Tables are read-only once they are loaded.
        const auto page = reinterpret_cast<std::uintptr_t>(slot) & ~(std::uintptr_t{4096} - 1);
        ASSERT_EQ(mprotect(reinterpret_cast<void*>(page), 4096, PROT_READ | PROT_WRITE), 0);
        *slot = &Call;
    }
};

template <auto... operations, class I>
void Catch(const SmartPtr<I>& object) {
    ASSERT_TRUE(object);
    (Caught<operations>::In(object.Get()), ...);
}

constexpr auto kQuery = &IUnknown::QueryInterface;

// IVariant::GetDouble and GetInteger are left out: they have no way to fail.
void CatchCollections() {
    const auto components = SmartPtr<IComponentCollection>::Share(GlobalCollection());
    SmartPtr<IUnknown> descriptor;
    components->GetItem(0, descriptor.Receive());
    const auto list = BASEObject::CreateParameters();
    Catch<&IComponentCollection::GetItem, &IComponentCollection::FindByName, &IComponentCollection::CreateComponent>(
        components);
    Catch<kQuery, &IComponentString::CreateInstance, &IComponentString::SetString>(
        As<IComponentString>(descriptor.Get()));
    Catch<kQuery, &IString::GetText, &IString::SetText, &IString::Append>(CREFString::CreateString());
    Catch<kQuery, &IVariant::GetKind, &IVariant::SetInteger, &IVariant::SetDouble, &IVariant::GetObject,
          &IVariant::HasString, &IVariant::GetString>(CREFString::CreateVariant());
    Catch<kQuery, &INamedCollection::GetItem, &INamedCollection::FindByName, &INamedCollection::Add>(list);
    Catch<&IDataPersist::Save, &IDataPersist::Load>(As<IDataPersist>(list.Get()));
    Catch<&ISuperCollection::AddPage>(CREFString::CreateCollection());
}

void CatchStreams() {
    auto document = std::make_shared<pugi::xml_document>();
    const auto xml = MakeXMLStream(document, document->append_child("set"));
    const auto folder = MakeFolderStream(std::make_shared<FolderArchive>(), "");
    Catch<kQuery>(xml);
    Catch<kQuery, &IXMLStream::WriteValue, &IXMLStream::NextChild, &IXMLStream::OpenChild>(As<IXMLStream>(xml.Get()));
    Catch<&IString::GetText>(As<IString>(xml.Get()));
    Catch<kQuery>(folder);
    Catch<&IFolderStream::WriteBinary, &IFolderStream::ReadBinary>(As<IFolderStream>(folder.Get()));
}

void CatchPictures() {
    Affine transform;
    const auto assembly = CreateComponent<IGeometricAssembly>(Text(L"Assembly"));
    const double corners[] = {1, 2, 3, 4};
    As<IPointsStore>(assembly.Get())->SetPoints(corners, 2);
    SmartPtr<IPoints> element;
    assembly->GetElement(kGeometricExtent, element.Receive());
    Catch<&ITransform::TransformPoint>(SmartPtr<ITransform>::Share(&transform));
    Catch<kQuery>(As<IGeometry>(assembly.Get()));
    Catch<&IGeometricAssembly::GetElement>(assembly);
    Catch<&IPoints::GetPoint>(element);
    Catch<&ICIF::GetSize, &ICIF::Create, &ICIF::Fill>(CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS")));
    Catch<&ICIFGraphics::Attach, &ICIFGraphics::SetColor, &ICIFGraphics::Line, &ICIFGraphics::FloodFill,
          &ICIFGraphics::Arc>(CreateComponent<ICIFGraphics>(Text(L"CIFGraphics")));
}

}  // namespace

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << (fault.kind == FaultKind::kCall ? "call " : "allocation ") << fault.first
         << (fault.fromThenOn ? " and all after it" : "");
}

Armed::Armed(const Fault& fault) {
    gFault = fault;
    gArmed = true;
    gCalls = 0;
    gHappened = false;
    gIgnored = fault.kind == FaultKind::kAllocation;
    FailAllocation(fault.kind == FaultKind::kAllocation ? fault.first : 0, fault.fromThenOn);
}

Armed::~Armed() {
    gArmed = false;
    gHappened = gHappened || AllocationHasFailed();
    FailAllocation(0);
}

long Armed::Calls() { return gCalls; }
bool Armed::Happened() { return gHappened; }
bool Armed::WasIgnored() { return gIgnored; }

void CatchFrameworkCalls() {
    CatchCollections();
    CatchStreams();
    CatchPictures();
}
