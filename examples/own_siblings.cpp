// A host with siblings of its own, which needs none of the modules that come with ROI.so. This one source is
// built twice: as CollectionsEx.so, the only sibling that ROI.so opens by itself, and as the host, which works
// from the folder where the two modules lie. An example does not mind running out of memory.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "contract/Components.h"
#include "contract/Extensions.h"  // IPixels: how this host reads its images
#include "contract/IROI.h"
#include "contract/Module.h"

std::wstring TextOf(IString& string) {
    tagREFString text{0, nullptr};  // not terminated: only the length counts
    string.GetText(&text.text, &text.length);
    return {text.text, static_cast<std::size_t>(text.length)};
}

// Every component says its name, and its base gives it a reference count and QueryInterface for its Answers.
#define COMPONENT(Class, name) \
    class Class;               \
    template <>                \
    const tagREFString IObjectInfoImpl<Class>::m_ObjectName = Text(name)

// ---------------------------------------------------------------------------------------------------
// 1. Values: strings, variants, and the collection of property pages

COMPONENT(String, L"CreatableString");
class String final : public Component<String, ICreatableString> {
  public:
    using Answers = InterfaceMap<IString, ICreatableString>;

    Result GetText(const wchar_t** text, int* length) noexcept override {
        *text = m_text.data();
        *length = static_cast<int>(m_text.size());
        return S_OK;
    }
    Result SetText(int length, const wchar_t* text) noexcept override {
        m_text.assign(text, static_cast<std::size_t>(length));
        return S_OK;
    }
    Result Append(int count, const wchar_t* characters) noexcept override {
        m_text.append(characters, static_cast<std::size_t>(count));
        return S_OK;
    }

  private:
    std::wstring m_text;
};

COMPONENT(Variant, L"Variant");
class Variant final : public Component<Variant, IVariant> {
  public:
    using Answers = InterfaceMap<IVariant>;

    int GetKind() noexcept override { return m_kind; }
    double GetDouble() noexcept override { return m_value; }
    int GetInteger() noexcept override { return static_cast<int>(m_value); }
    Result SetInteger(int value) noexcept override { return Set(kVariantInteger, value); }
    Result SetDouble(double value) noexcept override { return Set(kVariantDouble, value); }
    Result GetObject(IUnknown** object) noexcept override { return HoldsNone(object); }
    int HasString() noexcept override { return 0; }
    Result GetString(IUnknown** text) noexcept override { return HoldsNone(text); }

  private:
    Result Set(VariantKind kind, double value) noexcept {
        m_kind = kind;
        m_value = value;
        return S_OK;
    }
    static Result HoldsNone(IUnknown** out) noexcept {
        *out = nullptr;
        return E_FAIL;
    }

    VariantKind m_kind = kVariantNone;
    double m_value = 0.0;  // holds every 32-bit integer exactly
};

COMPONENT(Pages, L"SuperCollection");
class Pages final : public Component<Pages, ISuperCollection> {
  public:
    using Answers = InterfaceMap<ISuperCollection>;

    Result AddPage(IString*, IString*, IString*, int) noexcept override { return S_OK; }  // shows no pages
};

// ---------------------------------------------------------------------------------------------------
// 2. A parameter list that saves and loads itself, and a stream to save it in

COMPONENT(List, L"ParametersCreatable");
class List final : public Component<List, IParametersCreatable, IDataPersist> {
  public:
    using Answers = InterfaceMap<INamedCollection, IParametersCreatable, IDataPersist>;

    Result Add(IString* name, IUnknown* value, int, int) noexcept override {
        m_entries.push_back({TextOf(*name), SmartPtr<IUnknown>::Share(value)});  // the caller keeps its reference
        return S_OK;
    }
    Result FindByName(IString* name, int* index) noexcept override {
        const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                        [wanted = TextOf(*name)](const Entry& entry) { return entry.name == wanted; });
        *index = static_cast<int>(found - m_entries.begin());
        return found != m_entries.end() ? S_OK : E_FAIL;
    }
    Result GetItem(int index, IUnknown** value) noexcept override {
        const bool inside = index >= 0 && index < static_cast<int>(m_entries.size());
        *value = inside ? SmartPtr<IUnknown>(m_entries[index].value).Detach() : nullptr;  // one more reference
        return inside ? S_OK : E_INVALIDARG;
    }

    // Two blocks: the number of values, then all of them. Structured streams are refused, so figures lose
    // what they save there without a word.
    Result Save(IDataStream* stream, int) noexcept override {
        const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
        if (!folder) {
            return E_FAIL;
        }
        std::vector<Saved> values;
        for (const Entry& entry : m_entries) {
            const auto variant = SmartPtr<IVariant>::QueryFrom(entry.value.Get());
            if (!variant || entry.name.size() > std::size(Saved{}.name)) {
                return E_FAIL;
            }
            Saved& saved = values.emplace_back();
            saved.length = static_cast<int>(entry.name.copy(saved.name, std::size(saved.name)));
            saved.isInteger = variant->GetKind() == kVariantInteger;
            saved.value = variant->GetDouble();
        }
        const int count = static_cast<int>(values.size());
        folder->WriteBinary(CreateStringOf(Text(L"Count")).Get(), &count, sizeof count, 0);
        return folder->WriteBinary(CreateStringOf(Text(L"Values")).Get(), values.data(), BytesOf(values), 0);
    }
    Result Load(IDataStream* stream, int) noexcept override {
        const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
        int count = 0;
        if (!folder || Failed(folder->ReadBinary(CreateStringOf(Text(L"Count")).Get(), &count, sizeof count, 0)) ||
            count < 0 || count > 1000) {
            return E_FAIL;
        }
        std::vector<Saved> values(static_cast<std::size_t>(count));
        const Result code =
            folder->ReadBinary(CreateStringOf(Text(L"Values")).Get(), values.data(), BytesOf(values), 0);
        for (const Saved& saved : values) {
            const SmartPtr<IVariant> variant = CREFString::CreateVariant();
            saved.isInteger != 0 ? variant->SetInteger(static_cast<int>(saved.value)) : variant->SetDouble(saved.value);
            const int length = std::clamp(saved.length, 0, static_cast<int>(std::size(saved.name)));
            Add(CreateStringOf({length, saved.name}).Get(), variant.Get(), 0, 0);
        }
        return code;
    }

  private:
    struct Entry {
        std::wstring name;
        SmartPtr<IUnknown> value;
    };
    struct Saved {
        int length = 0;
        int isInteger = 0;
        double value = 0.0;
        wchar_t name[32] = {};
    };
    static int BytesOf(const std::vector<Saved>& values) { return static_cast<int>(values.size() * sizeof(Saved)); }

    std::vector<Entry> m_entries;
};

COMPONENT(MemoryStream, L"MemoryStream");
class MemoryStream final : public Component<MemoryStream, IDataStream, IFolderStream> {
  public:
    using Answers = InterfaceMap<IDataStream, IFolderStream>;

    Result WriteBinary(IString* name, const void* data, int bytes, int) noexcept override {
        m_blocks[TextOf(*name)].assign(static_cast<const char*>(data), static_cast<std::size_t>(bytes));
        return S_OK;
    }
    Result ReadBinary(IString* name, void* data, int bytes, int) noexcept override {
        const auto block = m_blocks.find(TextOf(*name));
        if (block == m_blocks.end() || block->second.size() < static_cast<std::size_t>(bytes)) {
            return E_FAIL;
        }
        std::memcpy(data, block->second.data(), static_cast<std::size_t>(bytes));
        return S_OK;
    }

  private:
    std::map<std::wstring, std::string> m_blocks;
};

// ---------------------------------------------------------------------------------------------------
// 3. An image, and what draws into it. Without "CIFGraphics" masks fail with E_FAIL; all else works.

COMPONENT(Image, L"CIFImageCANVAS");
class Image final : public Component<Image, ICIFImageCANVAS, IPixels> {
  public:
    using Answers = InterfaceMap<ICIF, ICIFImageCANVAS, IPixels>;

    Result GetSize(int* width, int* height, int*) noexcept override {
        *width = m_width;
        *height = m_height;
        return S_OK;
    }
    Result Create(int width, int height, int, int, std::uint32_t) noexcept override {
        constexpr int kMost = 1 << 15;
        if (width < 1 || height < 1 || width > kMost || height > kMost) {
            return E_INVALIDARG;
        }
        m_width = width;
        m_height = height;
        m_pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
        return S_OK;
    }
    Result Fill(int value) noexcept override {
        std::fill(m_pixels.begin(), m_pixels.end(), static_cast<unsigned char>(value));
        return S_OK;
    }
    Result GetPixels(unsigned char** data, int* stride, int* planes, int* bits) noexcept override {
        *data = m_pixels.data();
        *stride = m_width;
        *planes = 1;
        *bits = 8;
        return m_pixels.empty() ? E_FAIL : S_OK;
    }
    Result ReadFile(const char*) noexcept override { return E_NOTIMPL; }
    Result WriteFile(const char*) noexcept override { return E_NOTIMPL; }

  private:
    int m_width = 0;
    int m_height = 0;
    std::vector<unsigned char> m_pixels;
};

COMPONENT(Graphics, L"CIFGraphics");
class Graphics final : public Component<Graphics, ICIFGraphics> {
  public:
    using Answers = InterfaceMap<ICIFGraphics>;

    Result Attach(ICIF* image) noexcept override {
        m_image = SmartPtr<ICIF>::Share(image);
        return S_OK;
    }
    Result SetColor(int value) noexcept override {
        m_value = static_cast<unsigned char>(value);
        return S_OK;
    }
    // Steps of at most a pixel along the longer side: the line has no gaps.
    Result Line(float x1, float y1, float x2, float y2) noexcept override {
        const int steps = static_cast<int>(std::ceil(std::max(std::abs(x2 - x1), std::abs(y2 - y1))));
        for (int i = 0; i <= steps; ++i) {
            const double part = steps > 0 ? static_cast<double>(i) / steps : 0.0;
            Plot(x1 + (x2 - x1) * part, y1 + (y2 - y1) * part);
        }
        return S_OK;
    }
    Result Arc(float cx, float cy, float rx, float ry, float start, float end, int) noexcept override {
        const int steps = static_cast<int>(std::ceil(2 * (end - start) * std::max(std::abs(rx), std::abs(ry))));
        for (int i = 0; i <= steps; ++i) {
            const double angle = steps > 0 ? start + (end - start) * static_cast<double>(i) / steps : 0.0;
            Plot(cx + rx * std::cos(angle), cy + ry * std::sin(angle));
        }
        return S_OK;
    }
    // Sideways and up and down only: a fill that also went across corners would leak through slanted lines.
    Result FloodFill(int x, int y, int) noexcept override {
        std::vector<std::pair<int, int>> open{{x, y}};
        while (!open.empty()) {
            const auto [column, row] = open.back();
            open.pop_back();
            unsigned char* const pixel = At(column, row);
            if (pixel != nullptr && *pixel != m_value) {
                *pixel = m_value;
                open.insert(open.end(), {{column + 1, row}, {column - 1, row}, {column, row + 1}, {column, row - 1}});
            }
        }
        return S_OK;
    }

  private:
    void Plot(double x, double y) noexcept {
        unsigned char* const pixel = At(static_cast<int>(std::floor(x + 0.5)), static_cast<int>(std::floor(y + 0.5)));
        if (pixel != nullptr) {
            *pixel = m_value;
        }
    }
    // The pixel there, or null outside the image.
    unsigned char* At(int x, int y) noexcept {
        int width = 0;
        int height = 0;
        unsigned char* data = nullptr;
        int stride = 0;
        int planes = 0;
        int bits = 0;
        m_image->GetSize(&width, &height, nullptr);
        SmartPtr<IPixels>::QueryFrom(m_image.Get())->GetPixels(&data, &stride, &planes, &bits);
        return x >= 0 && y >= 0 && x < width && y < height ? data + static_cast<std::ptrdiff_t>(y) * stride + x
                                                           : nullptr;
    }

    SmartPtr<ICIF> m_image;
    unsigned char m_value = 0;
};

// ---------------------------------------------------------------------------------------------------
// 4. The way to them: a descriptor for each class, and the collection that knows them by name

Result CreateOwn(tagREFString className, const IID& iid, void** out) noexcept;

COMPONENT(Descriptor, L"ComponentString");
class Descriptor final : public Component<Descriptor, IComponentString> {
  public:
    using Answers = InterfaceMap<IComponentString>;

    Result SetString(int field, tagREFString value) noexcept override {
        if (field == kDescriptorClassName) {  // the module's name does not matter: all classes are in this one
            m_className.assign(value.text, static_cast<std::size_t>(value.length));
        }
        return S_OK;
    }
    Result CreateInstance(const IID& iid, void** out) noexcept override {
        return CreateOwn(Text(m_className), iid, out);
    }

  private:
    std::wstring m_className;
};

COMPONENT(Collection, L"GlobalComponentCollection");
class Collection final : public Component<Collection, IComponentCollection, IListing> {
  public:
    using Answers = InterfaceMap<IComponentCollection, IListing>;

    // The only component that is looked up instead of being created by name.
    Result FindByName(IString* name, int* index) noexcept override {
        *index = 0;
        return TextOf(*name) == L"ParametersCreatable" ? S_OK : E_FAIL;
    }
    Result GetItem(int, IUnknown** item) noexcept override {
        auto* const descriptor = new Descriptor;
        descriptor->SetString(kDescriptorClassName, Text(L"ParametersCreatable"));
        *item = static_cast<IComponentString*>(descriptor);
        return S_OK;
    }
    Result CreateComponent(tagREFString className, const IID& iid, void** out) noexcept override {
        return CreateOwn(className, iid, out);
    }

    // Figures never ask for a list; `roi check --siblings` tries the streams that are on it.
    int GetCount() noexcept override { return 1; }
    Result GetName(int index, tagREFString* name) noexcept override {
        *name = IObjectInfoImpl<MemoryStream>::m_ObjectName;
        return index == 0 ? S_OK : E_INVALIDARG;
    }
    int GetPresentationKind(int) noexcept override { return 0; }
};

// Names compare by length and characters. What is not ours is looked for in ROI.so: a mask's rectangle.
extern "C" MODULE_EXPORT Result CreateFunction(tagREFString className, ComponentCreator* out) noexcept {
    static const RegisteredClass kClasses[] = {
        kRegistered<String>,   kRegistered<Variant>,      kRegistered<Pages>,
        kRegistered<List>,     kRegistered<MemoryStream>, kRegistered<Image>,
        kRegistered<Graphics>, kRegistered<Descriptor>,   kRegistered<Collection>};
    return FindRegisteredClass(kClasses, className, out);
}

Result CreateOwn(tagREFString className, const IID& iid, void** out) noexcept {
    ComponentCreator create = nullptr;
    if (Failed(CreateFunction(className, &create))) {
        create = MODULECreateFunction(Text(L"ROI"), className);
    }
    IID wanted = iid;
    *out = nullptr;
    return create != nullptr ? create(nullptr, &wanted, out) : E_FAIL;
}

// ---------------------------------------------------------------------------------------------------
// 5. The host

template <class Interface>
SmartPtr<Interface> New(CreateFunctionEntry createFunction, tagREFString className) {
    ComponentCreator create = nullptr;
    SmartPtr<Interface> object;
    if (Failed(createFunction(className, &create)) ||
        Failed(create(nullptr, &IidOf<Interface>(), object.ReceiveVoid()))) {
        std::fprintf(stderr, "own_siblings: no such class\n");
        std::exit(1);
    }
    return object;
}

void PrintMask(ICIF& mask) {
    int width = 0;
    int height = 0;
    unsigned char* data = nullptr;
    int stride = 0;
    int planes = 0;
    int bits = 0;
    mask.GetSize(&width, &height, nullptr);
    SmartPtr<IPixels>::QueryFrom(&mask)->GetPixels(&data, &stride, &planes, &bits);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::putchar(data[y * stride + x] != 0 ? '#' : '.');
        }
        std::putchar('\n');
    }
}

void UseFigures(CreateFunctionEntry createFunction) {
    const auto donut = New<IROIDonut>(createFunction, Text(L"ROIDonut"));
    donut->SetRadius(0, 3.0, 2.0);
    donut->SetRadius(1, 9.0, 5.0);
    const auto stream = SmartPtr<IDataStream>::Adopt(new MemoryStream);
    SmartPtr<IDataPersist>::QueryFrom(donut.Get())->Save(stream.Get(), 0);
    const auto copy = New<IROIDonut>(createFunction, Text(L"ROIDonut"));
    SmartPtr<IDataPersist>::QueryFrom(copy.Get())->Load(stream.Get(), 0);
    double radiusX = 0.0;
    double radiusY = 0.0;
    copy->GetRadius(1, &radiusX, &radiusY);
    std::printf("loaded a ring of outer radii %g and %g\n", radiusX, radiusY);
    SmartPtr<ICIF> mask;
    if (Succeeded(copy->GetMask(mask.Receive()))) {
        PrintMask(*mask);
    }
}

int main() {
    if (chdir(OWN_SIBLINGS_DIR) != 0) {
        return 1;
    }
    void* const module = dlopen("./ROI.so", RTLD_NOW);
    if (module == nullptr) {
        std::fprintf(stderr, "own_siblings: %s\n", dlerror());
        return 1;
    }
    const auto initialize = reinterpret_cast<InitializeModuleEntry>(dlsym(module, kInitializeModuleSymbol));
    initialize(nullptr, GLOBALComponents().Get());  // from ./CollectionsEx.so
    UseFigures(reinterpret_cast<CreateFunctionEntry>(dlsym(module, kCreateFunctionSymbol)));
    initialize(nullptr, nullptr);
}
