// Parameter lists through both kinds of stream: what an element's text or a block's bytes become, and that
// a list comes back as it was saved.
#include <sstream>

#include "framework/support/XMLStream.h"
#include "fuzz/Target.h"

namespace {

SmartPtr<IDataPersist> PersistenceOf(INamedCollection& list) {
    auto persist = SmartPtr<IDataPersist>::QueryFrom(&list);
    REQUIRE(persist);
    return persist;
}

SmartPtr<INamedCollection> Loaded(IDataStream* stream) {
    SmartPtr<INamedCollection> list = BASEObject::CreateParameters();
    return PersistenceOf(*list)->Load(stream, 0) == S_OK ? list : nullptr;
}

// A list that saves itself comes back through either stream; through XML only with names that it can hold.
void ComesBack(INamedCollection& list) {
    const std::vector<Named> entries = EntriesOf(list);
    const auto archive = std::make_shared<FolderArchive>();
    REQUIRE(PersistenceOf(list)->Save(MakeFolderStream(archive, "a").Get(), 0) == S_OK);
    const auto fromBlock = Loaded(MakeFolderStream(archive, "a").Get());
    REQUIRE(fromBlock && Same(EntriesOf(*fromBlock), entries));

    const auto document = std::make_shared<pugi::xml_document>();
    if (PersistenceOf(list)->Save(MakeXMLStream(document, document->append_child("list")).Get(), 0) == S_OK) {
        std::ostringstream text;
        document->save(text);
        const auto parsed = std::make_shared<pugi::xml_document>();
        REQUIRE(parsed->load_string(text.str().c_str()));
        const auto fromText = Loaded(MakeXMLStream(parsed, parsed->first_child()).Get());
        REQUIRE(fromText && Same(EntriesOf(*fromText), entries));
    }
}

// Bytes that are taken for a list are the bytes that the list is saved as.
void LoadBlock(std::string_view bytes) {
    const auto archive = std::make_shared<FolderArchive>();
    // Behind a size that fits: guessing it is no use.
    const auto size = static_cast<std::uint32_t>(sizeof(std::uint32_t) + bytes.size());
    const std::string block = std::string(reinterpret_cast<const char*>(&size), sizeof size).append(bytes);
    archive->Put("Parameters", BlockOf(block));
    const auto list = Loaded(MakeFolderStream(archive, "").Get());
    if (list) {
        REQUIRE(PersistenceOf(*list)->Save(MakeFolderStream(archive, "").Get(), 0) == S_OK);
        REQUIRE(*archive->Find("Parameters") == BlockOf(block));
        ComesBack(*list);
    }
}

void LoadElements(const std::string& text) {
    const auto document = std::make_shared<pugi::xml_document>();
    if (!document->load_buffer(text.data(), text.size())) {
        return;
    }
    if (const auto list = Loaded(MakeXMLStream(document, document->first_child()).Get())) {
        ComesBack(*list);
    }
}

// One element whose text is all of the input, as far as XML holds it.
void LoadText(const std::string& text) {
    const auto document = std::make_shared<pugi::xml_document>();
    document->append_child("list").append_child("Name").text().set(text.c_str());
    if (const auto list = Loaded(MakeXMLStream(document, document->first_child()).Get())) {
        ComesBack(*list);
    }
}

void BuildList(Input input) {
    std::vector<Named> entries;
    while (!input.AtEnd()) {
        Named entry{input.Wide(input.Below(12)), 0};
        switch (input.Below(3)) {
            case 0:
                entry.value = input.Integer();
                break;
            case 1:
                entry.value = input.Number();
                break;
            default:
                entry.value = input.Wide(input.Byte());
        }
        entries.push_back(std::move(entry));
    }
    const auto list = ListOf(entries);
    REQUIRE(Same(EntriesOf(*list), entries));
    ComesBack(*list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    Input input(data, size);
    switch (input.Below(4)) {
        case 0:
            LoadBlock(input.Rest());
            break;
        case 1:
            LoadElements(std::string(input.Rest()));
            break;
        case 2:
            LoadText(std::string(input.Rest()));
            break;
        default:
            BuildList(input);
    }
    return 0;
}
