#include "framework/support/XMLStream.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "framework/FrameworkComponent.h"
#include "framework/support/PlainText.h"
#include "framework/support/Utf8.h"

class CXMLStream;
template <>
inline const tagREFString IObjectInfoImpl<CXMLStream>::m_ObjectName = Text(L"XMLStream");

namespace {

// The element that carries a name in an attribute.
constexpr std::string_view kUnnamedElement = "value";
constexpr const char* kNameAttribute = "name";

constexpr bool IsLetter(char c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
constexpr bool IsNameCharacter(char c) noexcept {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}
constexpr std::array<bool, 256> NameCharacters() noexcept {
    std::array<bool, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = IsNameCharacter(static_cast<char>(i));
    }
    return table;
}
constexpr auto kIsNameCharacter = NameCharacters();

// Whether a name can stand as that of an element. Names beyond ASCII stand in the attribute: which of
// their characters XML takes is a long list.
bool IsElementName(std::string_view name) noexcept {
    return !name.empty() && IsLetter(name.front()) &&
           std::all_of(name.begin(), name.end(), [](unsigned char c) { return kIsNameCharacter[c]; });
}

// Line ends other than \n would be rewritten when the document is read; other control characters
// cannot stand in one.
bool CanStandInXML(tagREFString text) noexcept {
    return std::all_of(text.text, text.text + std::max(text.length, 0), [](wchar_t c) {
        const auto code = static_cast<char32_t>(c);
        return (code >= 0x20 && code < 0xFFFE) || code > 0xFFFF || code == '\t' || code == '\n';
    });
}

// The text of a string in UTF-8, terminated. Most are short and plain, and stand inside it.
class DocumentText {
  public:
    // False when the string does not give its text or XML cannot hold it.
    bool Read(IString& string) {
        tagREFString text{0, nullptr};
        if (Failed(string.GetText(&text.text, &text.length))) {
            return false;
        }
        const auto length = static_cast<std::size_t>(std::max(text.length, 0));
        if (length < sizeof m_short && CopyPlain(text.text, length, m_short)) {
            m_short[length] = '\0';
            m_text = {m_short, length};
            return true;
        }
        const bool read = CanStandInXML(text) && AppendUtf8(text, &m_long);
        m_text = m_long;
        return read;
    }
    std::string_view Get() const noexcept { return m_text; }

  private:
    char m_short[64];
    std::string m_long;
    std::string_view m_text;
};

// A text of the document as it is handed out, kept for the receiver until the next. Most stand inside it.
class HandedText {
  public:
    void Take(std::string_view utf8) {
        if (utf8.size() <= std::size(m_short) && CopyPlain(utf8.data(), utf8.size(), m_short)) {
            m_text = {static_cast<int>(utf8.size()), m_short};
            return;
        }
        m_long = FromUtf8(utf8);
        m_text = Text(m_long);
    }
    tagREFString Get() const noexcept { return m_text; }

  private:
    wchar_t m_short[32];
    std::wstring m_long;
    tagREFString m_text{0, m_short};
};

std::string_view NameOf(pugi::xml_node element) noexcept {
    const std::string_view name = element.name();
    if (name != kUnnamedElement) {
        return name;
    }
    const pugi::xml_attribute attribute = element.attribute(kNameAttribute);
    return attribute ? attribute.value() : name;
}

// The first element of a node and its next siblings, or none.
pugi::xml_node FirstElementFrom(pugi::xml_node node) noexcept {
    while (node.type() != pugi::node_element && node.type() != pugi::node_null) {
        node = node.next_sibling();
    }
    return node;
}

}  // namespace

class CXMLStream final : public FrameworkComponent<CXMLStream, IDataStream, IXMLStream, IString> {
  public:
    // The one that is asked for most comes first.
    using Answers = InterfaceMap<IXMLStream, IDataStream, IString, IObjectInfo>;

    CXMLStream(XMLDocument document, pugi::xml_node element) noexcept
        : m_document(std::move(document)), m_element(element) {}

    Result WriteValue(IString* name, int reserved, IString* value, int reserved2) noexcept override {
        if (name == nullptr || value == nullptr) {
            return Misuse("IXMLStream::WriteValue", "null text");
        }
        if (reserved != 0 || reserved2 != 0) {
            return Misuse("IXMLStream::WriteValue", "the second or last argument is not 0");
        }
        return Guarded("IXMLStream::WriteValue", [&] {
            DocumentText nameText;
            DocumentText valueText;
            if (!nameText.Read(*name) || !valueText.Read(*value)) {
                return E_INVALIDARG;
            }
            const bool named = IsElementName(nameText.Get());
            pugi::xml_node element = m_element.append_child(named ? nameText.Get().data() : kUnnamedElement.data());
            if (!named) {
                element.append_attribute(kNameAttribute).set_value(nameText.Get().data());
            }
            const std::string_view text = valueText.Get();
            const bool written =
                text.empty() || element.append_child(pugi::node_pcdata).set_value(text.data(), text.size());
            return element && written ? S_OK : E_FAIL;
        });
    }

    // After the failure that ends the enumeration, the next call starts it again.
    Result NextChild(tagREFString* name) noexcept override {
        if (name == nullptr) {
            return Misuse("IXMLStream::NextChild", "null output");
        }
        *name = {0, nullptr};
        return Guarded("IXMLStream::NextChild", [&] {
            const pugi::xml_node next =
                FirstElementFrom(m_current ? m_current.next_sibling() : m_element.first_child());
            const bool found = static_cast<bool>(next);
            if (found) {
                m_name.Take(NameOf(next));
                *name = m_name.Get();
            }
            m_current = next;
            return found ? S_OK : E_FAIL;
        });
    }

    // Among children of one name, the one that the enumeration stands at, or else the first.
    Result OpenChild(tagREFString name, tagREFString* text, IUnknown** child, int mode) noexcept override {
        if (child == nullptr || mode != 1 || name.length < 0 || (name.text == nullptr && name.length > 0)) {
            return Misuse("IXMLStream::OpenChild", mode != 1 ? "the last argument is not 1" : "null argument");
        }
        *child = nullptr;
        return Guarded("IXMLStream::OpenChild", [&] {
            const pugi::xml_node element = m_current && name == m_name.Get() ? m_current : FindChild(name);
            SmartPtr<CXMLStream> opened = element ? StreamOver(element) : nullptr;
            if (opened && text != nullptr) {
                *text = opened->TakeText();
            }
            *child = static_cast<IXMLStream*>(opened.Detach());
            return *child != nullptr ? S_OK : E_FAIL;
        });
    }

    Result GetText(const wchar_t** text, int* length) noexcept override {
        if (text == nullptr || length == nullptr) {
            return Misuse("IString::GetText", "null output");
        }
        *text = nullptr;
        *length = 0;
        return Guarded("IString::GetText", [&] {
            const tagREFString taken = TakeText();
            *text = taken.text;
            *length = taken.length;
            return S_OK;
        });
    }

    Result SetText(int length, const wchar_t* text) noexcept override { return ReplaceText("", length, text); }
    Result Append(int count, const wchar_t* characters) noexcept override {
        return ReplaceText(m_element.child_value(), count, characters);
    }

  private:
    // The element's text, as long as it is asked for no other.
    tagREFString TakeText() {
        m_text.Take(m_element.child_value());
        return m_text.Get();
    }

    // A stream over a child element. Most receivers let go of one before they open the next: then it serves again.
    SmartPtr<CXMLStream> StreamOver(pugi::xml_node element) noexcept {
        if (m_child && m_child->AddRef() == 2) {
            m_child->m_element = element;
            m_child->m_current = pugi::xml_node();
            return SmartPtr<CXMLStream>::Adopt(m_child.Get());
        }
        if (m_child) {
            m_child->Release();
        }
        m_child = MakeObject<CXMLStream, CXMLStream>(m_document, element);
        return m_child;
    }

    // The first child element of that name.
    pugi::xml_node FindChild(tagREFString name) const {
        std::string wanted;
        if (!AppendUtf8(name, &wanted)) {
            return {};
        }
        return m_element.find_child(
            [&wanted](pugi::xml_node node) { return node.type() == pugi::node_element && NameOf(node) == wanted; });
    }

    // Puts characters behind the given beginning of the element's text.
    Result ReplaceText(const char* beginning, int count, const wchar_t* characters) noexcept {
        if (count < 0 || (characters == nullptr && count > 0)) {
            return Misuse("IString", "no characters");
        }
        return Guarded("IString", [&] {
            std::string text = beginning;
            const tagREFString added{count, characters};
            if (!CanStandInXML(added) || !AppendUtf8(added, &text)) {
                return E_INVALIDARG;
            }
            return m_element.text().set(text.c_str()) ? S_OK : E_FAIL;
        });
    }

    XMLDocument m_document;
    pugi::xml_node m_element;
    // The child that the enumeration stands at.
    pugi::xml_node m_current;
    // The child that was opened last.
    SmartPtr<CXMLStream> m_child;
    HandedText m_name;
    HandedText m_text;
};

SmartPtr<IDataStream> MakeXMLStream(XMLDocument document, pugi::xml_node element) noexcept {
    return MakeObject<IDataStream, CXMLStream>(std::move(document), element);
}
