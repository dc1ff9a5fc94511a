#include "host/sets/SetFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>

#include "contract/Components.h"
#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/figures/FigureClass.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/Parameters.h"
#include "host/images/Image.h"
#include "host/sets/History.h"
#include "host/sets/JsonLists.h"

namespace host {

namespace {

constexpr const char* kListing = "figures.json";

// A few bytes of a file can stand for any number of pixels or of nodes in memory, so both have a limit,
// in either direction: nothing is written that could not be read back.
constexpr std::uint64_t kMostMaskPixels = std::uint64_t{256} << 20;
constexpr std::size_t kLongestJson = std::size_t{16} << 20;
constexpr std::size_t kLongestXML = std::size_t{32} << 20;
// What decoding an image takes beside its pixels.
constexpr std::size_t kDecoderBytes = std::size_t{1} << 20;

void CheckLength(std::size_t length, std::size_t longest) {
    if (length > longest) {
        throw std::runtime_error("a text in it is too long");
    }
}

[[noreturn]] void Unsound(const Figure& figure, std::string_view why) {
    throw std::runtime_error(fmt::format("figure {}: {}", figure.name, why));
}

// ---------------------------------------------------------------------------------------------------
// What figures save of themselves, in either kind of stream

void SaveState(const Figure& figure, IDataStream* stream) {
    if (const auto persist = figure.As<IDataPersist>()) {
        persist->Save(stream, 0);
    } else if (const auto list = SmartPtr<IDataPersist>::QueryFrom(ParameterList(figure).Get())) {
        list->Save(stream, 0);
    }
}

// Figures take what they find in a parameter list and say nothing about the rest, so the host looks at
// the list first.
SmartPtr<INamedCollection> CheckedList(const Figure& figure, IDataStream* stream) {
    SmartPtr<INamedCollection> list = BASEObject::CreateParameters();
    const auto persist = SmartPtr<IDataPersist>::QueryFrom(list.Get());
    if (!persist || stream == nullptr) {
        throw std::bad_alloc();
    }
    if (Failed(persist->Load(stream, 0))) {
        Unsound(figure, "its values are damaged");
    }
    for (const NamedValue& entry : TextEntries(*list)) {
        if (!ParseNumber(std::get<std::string>(entry.value))) {
            Unsound(figure, fmt::format("{} is not a number", entry.name));
        }
    }
    return list;
}

// A figure's own Load would read the list a second time and do the same with it, save that an ellipse would cut the
// decimals off what it finds in XML.
void LoadState(const Figure& figure, IDataStream* stream) { ApplyParameterList(figure, *CheckedList(figure, stream)); }

// ---------------------------------------------------------------------------------------------------
// Folders

std::string FolderOf(const Figure& figure) { return "figures/" + figure.name; }

// The names of figures or the points of a shape as a block, and back.
FolderArchive::Block JsonBlock(const std::string& text) {
    CheckLength(text.size(), kLongestJson);
    return {text.begin(), text.end()};
}

std::string_view BytesOf(const FolderArchive::Block& block) noexcept {
    return {reinterpret_cast<const char*>(block.data()), block.size()};
}

std::string_view JsonText(const FolderArchive::Block& block) {
    CheckLength(block.size(), kLongestJson);
    return BytesOf(block);
}

void TakePixels(const Figure& figure, std::uint64_t pixels, std::uint64_t& left) {
    if (pixels > left) {
        Unsound(figure, "with its mask the set has too many pixels");
    }
    left -= pixels;
}

// The number of pixels that a PNG of 8-bit greys declares; nothing for any other image.
std::optional<std::uint64_t> DeclaredPixels(const FolderArchive::Block& png) {
    constexpr std::string_view kStart("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);
    constexpr std::string_view kGrey("\x08\0", 2);
    const std::string_view bytes = BytesOf(png);
    if (!bytes.starts_with(kStart) || bytes.size() < 26 || bytes.substr(24, kGrey.size()) != kGrey) {
        return std::nullopt;
    }
    const auto word = [&png](std::size_t at) {
        return std::uint64_t{png[at]} << 24 | std::uint64_t{png[at + 1]} << 16 | std::uint64_t{png[at + 2]} << 8 |
               png[at + 3];
    };
    return word(16) * word(20);
}

void SaveMaskImage(const Figure& figure, FolderArchive& archive, std::uint64_t& pixelsLeft) {
    const Raster image = MaskImageOf(figure);
    if (image.IsEmpty()) {
        return;
    }
    const PixelSize size = image.Size();
    TakePixels(figure, static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height), pixelsLeft);
    const std::string png = EncodeImage(Format::png, image.View());
    archive.Put(FolderOf(figure) + "/mask.png", {png.begin(), png.end()});
}

// Copies the blocks of a figure from one archive to another; whether there are any.
bool KeepBlocks(const Figure& figure, const FolderArchive& from, FolderArchive& to, std::uint64_t& pixelsLeft) {
    const std::string folder = FolderOf(figure) + '/';
    const auto& blocks = from.Blocks();
    const auto first = blocks.lower_bound(folder);
    auto at = first;
    for (; at != blocks.end() && at->first.starts_with(folder); ++at) {
        to.Put(at->first, at->second);
    }
    const FolderArchive::Block* const png =
        figure.type->contents == Contents::image ? to.Find(folder + "mask.png") : nullptr;
    if (png != nullptr) {
        TakePixels(figure, DeclaredPixels(*png).value_or(0), pixelsLeft);
    }
    return at != first;
}

Raster MaskIn(const Figure& figure, const FolderArchive::Block& png) {
    try {
        return DecodeImage(BytesOf(png)).pixels;
    } catch (const Error&) {
        Unsound(figure, "its mask is damaged");
    }
}

void LoadMaskImage(const Figure& figure, const FolderArchive& archive, std::uint64_t& pixelsLeft) {
    if (const FolderArchive::Block* png = archive.Find(FolderOf(figure) + "/mask.png")) {
        const auto declared = DeclaredPixels(*png);
        if (!declared) {
            Unsound(figure, "its mask is damaged");
        }
        TakePixels(figure, *declared, pixelsLeft);
        // A decoder without memory says no more than that it failed, so what it and the copy take is asked for before.
        static_cast<void>(std::make_unique_for_overwrite<unsigned char[]>(2 * *declared + kDecoderBytes));
        SetMaskImage(figure, MaskIn(figure, *png).View());
    }
}

void SaveGeometry(const Figure& figure, FolderArchive& archive) {
    if (!figure.geometry) {
        return;
    }
    archive.Put(FolderOf(figure) + "/geometry.json", JsonBlock(PointsText(PointsOf(figure))));
}

void LoadGeometry(Figure& figure, const FolderArchive& archive) {
    if (const FolderArchive::Block* block = archive.Find(FolderOf(figure) + "/geometry.json")) {
        SetPoints(figure, ParsePoints(JsonText(*block)));
    }
}

// The blocks of a profile; it takes what it finds of them and does not say what is missing.
void CheckProfile(const Figure& figure, const FolderArchive& archive) {
    constexpr std::size_t kBytesPerPoint = 6 * sizeof(double);
    const FolderArchive::Block* count = archive.Find(FolderOf(figure) + "/NumberPoints");
    const FolderArchive::Block* points = archive.Find(FolderOf(figure) + "/Points");
    std::uint32_t number = 0;
    if (count != nullptr && count->size() == sizeof number) {
        std::memcpy(&number, count->data(), sizeof number);
    }
    if (count == nullptr || count->size() != sizeof number ||
        (points != nullptr ? points->size() : 0) != number * kBytesPerPoint) {
        Unsound(figure, "its points are damaged");
    }
}

void LoadFigure(Figure& figure, const std::shared_ptr<FolderArchive>& archive, std::uint64_t& pixelsLeft) {
    const SmartPtr<IDataStream> stream = MakeFolderStream(archive, FolderOf(figure));
    if (figure.type->contents == Contents::points) {
        CheckProfile(figure, *archive);
        if (Failed(figure.As<IDataPersist>()->Load(stream.Get(), 0))) {
            Unsound(figure, "it has too many points");
        }
        return;
    }
    LoadState(figure, stream.Get());
    if (figure.type->contents == Contents::image) {
        LoadMaskImage(figure, *archive, pixelsLeft);
    }
    if (figure.type->contents == Contents::geometry) {
        LoadGeometry(figure, *archive);
    }
}

}  // namespace

std::shared_ptr<FolderArchive> PackFigures(const std::vector<Figure>& figures) {
    return PackFigures(figures, {}, [](const std::string&) { return false; });
}

std::shared_ptr<FolderArchive> PackFigures(const std::vector<Figure>& figures, const FolderArchive& before,
                                           const std::function<bool(const std::string&)>& isKept) {
    auto archive = std::make_shared<FolderArchive>();
    std::vector<ListedFigure> listing;
    std::uint64_t pixelsLeft = kMostMaskPixels;
    for (const Figure& figure : figures) {
        listing.push_back({figure.name, figure.type->name});
        if (isKept(figure.name) && KeepBlocks(figure, before, *archive, pixelsLeft)) {
            continue;
        }
        SaveState(figure, MakeFolderStream(archive, FolderOf(figure)).Get());
        SaveMaskImage(figure, *archive, pixelsLeft);
        SaveGeometry(figure, *archive);
    }
    archive->Put(kListing, JsonBlock(ListingText(listing)));
    return archive;
}

std::vector<ListedFigure> FiguresIn(const FolderArchive& archive) {
    const FolderArchive::Block* listing = archive.Find(kListing);
    if (listing == nullptr) {
        throw std::runtime_error("the archive lists no figures; roi import brings in those of a RoiSet.zip");
    }
    return ParseListing(JsonText(*listing));
}

bool ListsSame(const FolderArchive& one, const FolderArchive& other) {
    const FolderArchive::Block* const here = one.Find(kListing);
    const FolderArchive::Block* const there = other.Find(kListing);
    return here != nullptr && there != nullptr && *here == *there;
}

RoiSet UnpackFigures(const Session& session, const std::shared_ptr<FolderArchive>& archive) {
    RoiSet set;
    std::uint64_t pixelsLeft = kMostMaskPixels;
    const std::vector<ListedFigure> listing = FiguresIn(*archive);
    set.Reserve(listing.size());
    for (const ListedFigure& entry : listing) {
        LoadFigure(set.Add(session, entry.name, entry.className), archive, pixelsLeft);
    }
    return set;
}

std::string WriteFolderSet(const std::vector<Figure>& figures) { return PackFigures(figures)->ToBytes(); }

RoiSet ReadFolderSet(const Session& session, std::string_view bytes) {
    return UnpackFigures(session, ArchiveFromBytes(bytes));
}

std::shared_ptr<FolderArchive> ArchiveFromBytes(std::string_view bytes) {
    return std::make_shared<FolderArchive>(FolderArchive::FromBytes(bytes, kHistoryBlock));
}

Figure ReadBack(const Session& session, const Figure& figure) {
    if (figure.type->contents != Contents::image) {
        return UnpackFigures(session, PackFigures({figure})).Figures().front();
    }
    // Packing would encode the image.
    SmartPtr<IUnknown> replica;
    figure.roi->Replicate(replica.Receive());
    Figure copy{figure.name, figure.type, SmartPtr<IROI>::QueryFrom(replica.Get()), nullptr};
    if (!copy.roi) {
        throw Error("cannot copy", figure.name, "out of memory");
    }
    ApplyParameterList(copy, *ParameterList(figure));
    return copy;
}

// ---------------------------------------------------------------------------------------------------
// XML

std::string WriteXMLSet(const std::vector<Figure>& figures) {
    const auto document = std::make_shared<pugi::xml_document>();
    pugi::xml_node root = document->append_child("figures");
    for (const Figure& figure : figures) {
        pugi::xml_node element = root.append_child("figure");
        element.append_attribute("name") = figure.name.c_str();
        element.append_attribute("class") = figure.type->name;
        SaveState(figure, MakeXMLStream(document, element.append_child("values")).Get());
    }
    std::ostringstream text;
    document->save(text, "  ");
    CheckLength(text.str().size(), kLongestXML);
    return text.str();
}

// The names of the values that figures of a class have.
class ValueNames {
  public:
    // Of that of a new figure.
    const std::vector<std::string>& Of(const Figure& figure) {
        const auto [names, isNew] = m_names.try_emplace(figure.type);
        if (isNew) {
            for (const NamedValue& value : ReadParameters(figure)) {
                names->second.push_back(value.name);
            }
        }
        return names->second;
    }

  private:
    std::map<const FigureClass*, std::vector<std::string>> m_names;
};

// Figures read something, or nothing, of any text: blanks, plus signs and hexadecimal digits would make other numbers
// of it than people see.
void CheckNumber(const Figure& figure, pugi::xml_node value) {
    const std::string_view text = value.text().get();
    double number = 0.0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isOneText = value.first_child() == value.last_child();
    if (failure != std::errc() || end != text.data() + text.size() || !isOneText) {
        Unsound(figure, fmt::format("{} is not a number in plain digits: {}", value.name(), text));
    }
}

// Figures pass over what they do not know, and take the first of two: they would lie where the file does not say.
void CheckValues(const Figure& figure, pugi::xml_node element, const std::vector<std::string>& names) {
    std::vector<bool> given(names.size());
    for (const pugi::xml_node values : element.children()) {
        for (const pugi::xml_node value : values.children()) {
            if (value.type() != pugi::node_element) {
                continue;
            }
            CheckNumber(figure, value);
            const auto name = std::find(names.begin(), names.end(), value.name());
            if (name == names.end()) {
                Unsound(figure, UnknownName("value", value.name(), names).what());
            }
            const auto at = static_cast<std::size_t>(name - names.begin());
            if (given[at]) {
                Unsound(figure, fmt::format("{} is given twice", value.name()));
            }
            given[at] = true;
        }
    }
}

RoiSet ReadXMLSet(const Session& session, std::string_view bytes) {
    const auto document = std::make_shared<pugi::xml_document>();
    CheckLength(bytes.size(), kLongestXML);
    const pugi::xml_parse_result parsed = document->load_buffer(bytes.data(), bytes.size());
    if (parsed.status == pugi::status_out_of_memory) {
        throw std::bad_alloc();
    }
    if (!parsed) {
        throw std::runtime_error(fmt::format("{} at byte {}", parsed.description(), parsed.offset));
    }
    const pugi::xml_node root = document->child("figures");
    if (!root) {
        throw std::runtime_error("it has no element figures");
    }
    RoiSet set;
    ValueNames names;
    for (const pugi::xml_node element : root.children("figure")) {
        const Figure& figure = set.Add(session, element.attribute("name").value(), element.attribute("class").value());
        if (figure.type->readsXML) {
            CheckValues(figure, element, names.Of(figure));
            // They look for their values one element down.
            LoadState(figure, MakeXMLStream(document, element).Get());
        }
    }
    return set;
}

std::string LostInXML(const Figure& figure) {
    return figure.type->lostInXML != nullptr ? figure.type->lostInXML(figure) : std::string();
}

}  // namespace host
