#include "framework/ParameterBlock.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "framework/CreatableString.h"
#include "framework/ParameterValue.h"

namespace {

static_assert(std::endian::native == std::endian::little, "blocks are copied as they lie in memory");

constexpr std::uint32_t kLargestBlock = 16u << 20;
constexpr std::uint32_t kSmallestEntry = 3 * sizeof(std::uint32_t);

using Bytes = std::vector<std::uint8_t>;

class BlockWriter {
  public:
    template <class Word>
    void Put(Word word) {
        Append(&word, sizeof word);
    }
    void PutText(tagREFString text) {
        Put(static_cast<std::uint32_t>(text.length));
        Append(text.text, static_cast<std::size_t>(text.length) * sizeof(wchar_t));
    }
    // The bytes, with their number in the word that is kept free for it.
    const Bytes& Finished() noexcept {
        const auto size = static_cast<std::uint32_t>(m_bytes.size());
        std::memcpy(m_bytes.data(), &size, sizeof size);
        return m_bytes;
    }

  private:
    void Append(const void* data, std::size_t size) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        m_bytes.insert(m_bytes.end(), bytes, bytes + size);
    }

    Bytes m_bytes = Bytes(sizeof(std::uint32_t));
};

// Reads what the block holds and never beyond it: the first failure makes all that follow fail.
class BlockReader {
  public:
    explicit BlockReader(const Bytes& bytes) noexcept : m_at(bytes.data()), m_left(bytes.size()) {}

    template <class Word>
    Word Get() noexcept {
        Word word{};
        if (Take(sizeof word)) {
            std::memcpy(&word, m_at - sizeof word, sizeof word);
        }
        return word;
    }
    // Copies a text out, since the characters need not lie aligned.
    void GetText(std::wstring* text) {
        const auto length = Get<std::uint32_t>();
        const std::size_t size = std::size_t{length} * sizeof(wchar_t);
        text->clear();
        if (Take(size) && length > 0) {
            text->resize(length);
            std::memcpy(text->data(), m_at - size, size);
        }
    }
    std::size_t Left() const noexcept { return m_left; }
    bool Sound() const noexcept { return m_sound; }

  private:
    bool Take(std::size_t size) noexcept {
        m_sound = m_sound && size <= m_left;
        if (m_sound) {
            m_at += size;
            m_left -= size;
        }
        return m_sound;
    }

    const std::uint8_t* m_at;
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
            writer->PutText(value.text);
            break;
    }
}

// False for a type that does not exist.
bool GetValue(BlockReader* reader, ParameterValue* value, std::wstring* storage) {
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
            reader->GetText(storage);
            value->text = {static_cast<int>(storage->size()), storage->data()};
            return true;
    }
    return false;
}

Result ReadEntry(BlockReader* reader, ParameterEntries* entries) {
    ParameterEntry entry;
    ParameterValue value;
    std::wstring name;
    std::wstring storage;
    entry.presentationKind = reader->Get<std::int32_t>();
    value.type = static_cast<ValueType>(reader->Get<std::uint32_t>());
    reader->GetText(&name);
    if (!GetValue(reader, &value, &storage) || !reader->Sound()) {
        return E_FAIL;
    }
    entry.item = MakeItem(value);
    if (!entry.item || !entry.name.Assign(name.data(), static_cast<int>(name.size()))) {
        return E_FAIL;
    }
    entries->push_back(std::move(entry));
    return S_OK;
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
    BlockWriter writer;
    writer.Put(static_cast<std::uint32_t>(entries.size()));
    for (const ParameterEntry& entry : entries) {
        ParameterValue value;
        if (!ReadItem(entry.item.Get(), &value)) {
            return E_FAIL;
        }
        writer.Put(static_cast<std::int32_t>(entry.presentationKind));
        writer.Put(static_cast<std::uint32_t>(value.type));
        writer.PutText(entry.name);
        PutValue(value, &writer);
    }
    const Bytes& bytes = writer.Finished();
    const auto name = BlockName();
    if (bytes.size() > kLargestBlock || !name) {
        return E_FAIL;
    }
    return stream.WriteBinary(name.Get(), bytes.data(), static_cast<int>(bytes.size()), 0);
}

Result LoadBlock(IFolderStream& stream, ParameterEntries* entries) {
    const auto name = BlockName();
    std::uint32_t size = 0;
    if (!name || Failed(stream.ReadBinary(name.Get(), &size, sizeof size, 0)) || size > kLargestBlock) {
        return E_FAIL;
    }
    Bytes bytes(size);
    if (Failed(stream.ReadBinary(name.Get(), bytes.data(), static_cast<int>(size), 0))) {
        return E_FAIL;
    }
    BlockReader reader(bytes);
    reader.Get<std::uint32_t>();  // The size again.
    const auto count = reader.Get<std::uint32_t>();
    if (!reader.Sound() || count > reader.Left() / kSmallestEntry) {
        return E_FAIL;
    }
    entries->reserve(count);
    Result code = S_OK;
    for (std::uint32_t i = 0; i < count && Succeeded(code); ++i) {
        code = ReadEntry(&reader, entries);
    }
    return Succeeded(code) && reader.Left() == 0 ? code : E_FAIL;
}
