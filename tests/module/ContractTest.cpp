// The module's entry points and the identifiers. What its classes answer and do slot by slot is what
// `roi check` tries, and the order of every interface's operations is compared with the accepted one.
#include <array>
#include <climits>
#include <cstring>

#include "Harness.h"

namespace {

std::string OutputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    for (int c = 0; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;) {
        output += static_cast<char>(c);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

TEST(Module, ExportsItsTwoEntryPointsAndNeedsOnlyTheStandardLibraries) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "the sanitizers add symbols and libraries of their own";
#endif
    EXPECT_EQ(OutputOf("nm -D --defined-only --format=posix ROI.so | cut -d' ' -f1 | sort"),
              std::string("CreateFunction\n").append(kInitializeModuleSymbol).append("\n"));
    EXPECT_EQ(
        OutputOf("readelf -d ROI.so | grep NEEDED | grep -vE '\\[(libc|libm|libstdc\\+\\+|libgcc_s)\\.so\\.[0-9]+\\]'"
                 " | wc -l"),
        "0\n");
    EXPECT_EQ(OutputOf("readelf -n ROI.so 2>&1 | grep -cE '^ *ROI +0x[0-9a-f]+[[:space:]]+NT_VERSION|Warning'"), "1\n");
}

// ---------------------------------------------------------------------------------------------------

/// The identifier as one 128-bit number.
IID IidModel(const std::string& name) {
    __extension__ using Wide128 = unsigned __int128;
    Wide128 number = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(name.size(), 25); ++i) {
        const int c = std::toupper(static_cast<unsigned char>(name[i]));
        number |= Wide128(c >= 'A' && c <= 'Z' ? c - 'A' + 1 : c >= '0' && c <= '4' ? c - '0' + 28 : 27) << (5 * i);
    }
    IID iid;
    std::memcpy(&iid, &number, sizeof iid);
    return iid;
}

#define NAME_OF(name) #name,
const char* const kInterfaces[] = {FRAMEWORK_INTERFACES(NAME_OF)};

// At compile time nothing may be touched beyond the four words.
static_assert(__IIDOfc("ABCDEFGHIJKLMNOPQRSTUVWXY").words[3] == 0x19C5ED5A);

TEST(Identifier, IsDerivedFromTheName) {
    for (const char* name :
         {"", "A", "a", "IA", "I4", "I4A", "I44", "IPoint5", "IPoint_", "0123456789", "I\xE4\xFF",
          "ABCDEFGHIJKLMNOPQRSTUVWXY", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "444444444444444444444444444"}) {
        EXPECT_EQ(__IIDOfc(name), IidModel(name)) << name;
    }
    for (const char* name : kInterfaces) {
        EXPECT_EQ(__IIDOfc(name), IidModel(name)) << name;
    }
    auto bytes = [](const char* name) {
        std::array<std::uint8_t, 16> b;
        const IID iid = __IIDOfc(name);
        std::memcpy(b.data(), &iid, 16);
        return b;
    };
    EXPECT_EQ(bytes("IA"), (std::array<std::uint8_t, 16>{0x29}));
    EXPECT_EQ(bytes("I4"), (std::array<std::uint8_t, 16>{0x09, 0x04}));
    EXPECT_EQ(bytes("I4"), bytes("I4A"));
    EXPECT_EQ(bytes("iroi"), bytes("IROI"));
    EXPECT_EQ(bytes("IPoint5"), bytes("IPoint_"));
    EXPECT_EQ(std::memcmp(&IID_IUnknown, "\0\0\0\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 16), 0);
    EXPECT_EQ(IID_IROIParallelogram, IidModel("IROIParallelogram"));
    for (const std::size_t word : {0, 1, 2, 3}) {
        IID other = IID_IROIParallelogram;
        other.words[word] ^= 0x100;
        EXPECT_TRUE(other != IID_IROIParallelogram && !(other == IID_IROIParallelogram)) << word;
    }
    EXPECT_FALSE(IID_IUnknown != IID_IUnknown);
}

TEST(ReferenceString, TakesPiecesOfAnyLengthAndKeepsThemWhereItMoves) {
    std::wstring whole;
    CREFString string;
    // 20 characters lie in the string itself.
    for (const int count : {0, 1, -3, 11, 7, 1, 1, 19, 2, 130, 0, 1, 400}) {
        const std::wstring piece(static_cast<std::size_t>(std::max(count, 0)), L'a' + static_cast<wchar_t>(count % 26));
        EXPECT_TRUE(string.Append(piece.data(), count));
        whole += piece;
        EXPECT_EQ(Wide(string), whole);
        CREFString there(std::move(string));
        EXPECT_EQ(Wide(string), L"");  // NOLINT(bugprone-use-after-move): a string that was moved is empty
        EXPECT_TRUE(string.Assign(L"-", 1) && string.Assign(there.text, there.length));
        EXPECT_EQ(Wide(there), whole);
    }
    EXPECT_FALSE(string.Append(L"f", INT_MAX)) << "more than a length can say, and nothing is read";
    EXPECT_TRUE(string.Assign(string.text + 1, 2)) << "a part of itself";
    EXPECT_EQ(Wide(string), whole.substr(1, 2));
    EXPECT_TRUE(Text(L"a") != Text(L"b") && Text(L"ab") != Text(L"ac") && Text(L"a") != Text(L"ab"));
    EXPECT_TRUE(CREFString() == Text(L"") && string == Ref(whole.substr(1, 2)));
}

TEST(Pixels, AreBytesInOnePlaneOfEight) {
    unsigned char byte = 0;
    const std::pair<ImagePixels, bool> rows[] = {{{&byte, 1, 1, 1, 1, 8}, true},
                                                 {{nullptr, 1, 1, 1, 1, 8}, false},
                                                 {{&byte, 1, 1, 2, 1, 16}, false},
                                                 {{&byte, 1, 1, 3, 3, 8}, false},
                                                 {{}, false}};
    for (const auto& [pixels, areBytes] : rows) {
        EXPECT_EQ(pixels.AreBytes(), areBytes) << pixels.planes << " of " << pixels.bits;
    }
}

}  // namespace
