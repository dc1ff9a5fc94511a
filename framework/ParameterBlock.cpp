#include "framework/ParameterBlock.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "framework/CreatableString.h"
#include "framework/ParameterValue.h"

namespace {

static_assert(std::endian::native == std::endian::little, "blocks are copied as they lie in memory");

constexpr std::size_t kLargestBlock = std::size_t{16} << 20;

// All that a block holds is made of words, and so of characters: texts lie in it as they are handed out.
using Words = std::vector<wchar_t>;

template <class Record>
constexpr std::size_t kWordsOf = sizeof(Record) / sizeof(wchar_t);

// What stands before the name of an entry.
struct EntryHead {
    std::int32_t presentationKind;
    ValueType type;
    std::uint32_t nameLength;
};

class BlockWriter {
  public:
    // With room for so many numbers.
    explicit BlockWriter(std::size_t entries) { m_words.reserve(2 + entries * kUsualEntry); }

    template <class Record>
    void Put(const Record& record) {
        wchar_t words[kWordsOf<Record>];
        std::memcpy(words, &record, sizeof record);
        m_words.append(words, kWordsOf<Record>);
    }
    // The characters alone, without their number.
    void PutText(tagREFString text) { m_words.append(text.text, static_cast<std::size_t>(text.length)); }
    // The block, with its number of bytes in the word that is kept free for it.
    std::wstring_view Finished() noexcept {
        m_words.front() = static_cast<wchar_t>(m_words.size() * sizeof(wchar_t));
        return m_words;
    }

  private:
    static constexpr std::size_t kUsualEntry = kWordsOf<EntryHead> + 16 + kWordsOf<double>;

    std::wstring m_words = std::wstring(1, L'\0');
};

// Reads what the block holds and never beyond it: the first failure makes all that follow fail.
class BlockReader {
  public:
    explicit BlockReader(const Words& words) noexcept : m_at(words.data()), m_left(words.size()) {}

    template <class Record>
    Record Get() noexcept {
        Record record{};
        if (Take(kWordsOf<Record>)) {
            std::memcpy(&record, m_at - kWordsOf<Record>, sizeof record);
        }
        return record;
    }
    // A text, which stays in the block.
    tagREFString GetText(std::uint32_t length) noexcept {
        return Take(length) ? tagREFString{static_cast<int>(length), m_at - length} : tagREFString{0, m_at};
    }
    // In words.
    std::size_t Left() const noexcept { return m_left; }
    bool Sound() const noexcept { return m_sound; }

  private:
    bool Take(std::size_t words) noexcept {
        m_sound = m_sound && words <= m_left;
        if (m_sound) {
            m_at += words;
            m_left -= words;
        }
        return m_sound;
    }

    const wchar_t* m_at;
    std::size_t m_left;
    bool m_sound = true;
};

void PutValue(const ParameterValue& value, BlockWriter* writer) {
    switch (value.type) {
        case ValueType::kNone:
            break;
        case ValueType::kInteger:
            writer->Put(value.integer);
            break;
        case ValueType::kDouble:
            writer->Put(value.number);
            break;
        case ValueType::kVariantText:
        case ValueType::kStringText:
            writer->Put(static_cast<std::uint32_t>(value.text.length));
            writer->PutText(value.text);
            break;
    }
}

// False for a type that does not exist.
bool GetValue(BlockReader* reader, ParameterValue* value) noexcept {
    switch (value->type) {
        case ValueType::kNone:
            return true;
        case ValueType::kInteger:
            value->integer = reader->Get<std::int32_t>();
            return true;
        case ValueType::kDouble:
            value->number = reader->Get<double>();
            return true;
        case ValueType::kVariantText:
        case ValueType::kStringText:
            value->text = reader->GetText(reader->Get<std::uint32_t>());
            return true;
    }
    return false;
}

bool ReadEntry(BlockReader* reader, ParameterEntries* entries) {
    const auto head = reader->Get<EntryHead>();
    const tagREFString name = reader->GetText(head.nameLength);
    ParameterValue value;
    value.type = head.type;
    if (!GetValue(reader, &value) || !reader->Sound()) {
        return false;
    }
    ParameterEntry& entry = entries->emplace_back(MakeItem(value), head.presentationKind);
    return entry.item && entry.name.Assign(name.text, name.length);
}

SmartPtr<ICreatableString> BlockName() noexcept {
    constexpr tagREFString text = Text(L"Parameters");
    auto name = MakeObject<ICreatableString, CCreatableString>();
    if (name && Failed(name->SetText(text.length, text.text))) {
        name.Reset();
    }
    return name;
}

}  // namespace

Result SaveBlock(const ParameterEntries& entries, IFolderStream& stream) {
    BlockWriter writer(entries.size());
    writer.Put(static_cast<std::uint32_t>(entries.size()));
    for (const ParameterEntry& entry : entries) {
        ParameterValue value;
        if (!ReadItem(entry.item.Get(), &value)) {
            return E_FAIL;
        }
        writer.Put(EntryHead{entry.presentationKind, value.type, static_cast<std::uint32_t>(entry.name.length)});
        writer.PutText(entry.name);
        PutValue(value, &writer);
    }
    const std::wstring_view words = writer.Finished();
    const std::size_t size = words.size() * sizeof(wchar_t);
    const auto name = BlockName();
    if (size > kLargestBlock || !name) {
        return E_FAIL;
    }
    return stream.WriteBinary(name.Get(), words.data(), static_cast<int>(size), 0);
}

Result LoadBlock(IFolderStream& stream, ParameterEntries* entries) {
    const auto name = BlockName();
    std::uint32_t size = 0;
    if (!name || Failed(stream.ReadBinary(name.Get(), &size, sizeof size, 0)) || size > kLargestBlock ||
        size % sizeof(wchar_t) != 0) {
        return E_FAIL;
    }
    Words words(size / sizeof(wchar_t));
    if (Failed(stream.ReadBinary(name.Get(), words.data(), static_cast<int>(size), 0))) {
        return E_FAIL;
    }
    BlockReader reader(words);
    reader.Get<std::uint32_t>();  // The size again.
    const auto count = reader.Get<std::uint32_t>();
    if (!reader.Sound() || count > reader.Left() / kWordsOf<EntryHead>) {
        return E_FAIL;
    }
    entries->reserve(count);
    bool sound = true;
    for (std::uint32_t i = 0; i < count && sound; ++i) {
        sound = ReadEntry(&reader, entries);
    }
    return sound && reader.Left() == 0 ? S_OK : E_FAIL;
}
