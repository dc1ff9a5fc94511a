// What files and texts are taken for, how files are replaced, and the lines around pixels.
#include <sys/file.h>
#include <sys/stat.h>

#include <set>
#include <tuple>

#include "host/base/OutputCheck.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"
#include "host/measure/Border.h"
#include "tests/host/RunRoi.h"

namespace {

using namespace std::string_literals;
using Kinds = std::set<host::FileKind>;

TEST(FileKinds, AreToldByTheFirstBytes) {
    using enum host::FileKind;
    const std::string entry = "PK\3\4" + std::string(26, '\0');
    const std::tuple<std::string, Kinds> cases[] = {
        {"\x89PNG\r\n\x1A\n\0"s, {image}},
        {"RIFF\1\2\3\4WEBPVP8 \0"s, {image}},
        {"RIFF\1\2\3\4WAVEfmt \0"s, {}},
        {"II*\0\1"s, {image}},
        {"P5 3 2 255\n\1\2"s, {image}},
        {entry + "figures.json\0"s, {set}},
        {entry + "0001-0002.roi\0"s, {archive}},
        {"PK\5\6" + std::string(18, '\0'), {archive}},
        {"<?xml version='1.0'?>\r\n<figures>", {set, text}},
        {" \n<svg width='3'>", {drawing, text}},
        {"a <figures of speech", {text}},
        {"%PDF-1.5\n\x01", {drawing}},
        {"Iout\0\xE4"s, {imageJ}},
        {"\r\n\t{\"a\": 1}", {json, text}},
        {"[1]\1", {}},
        {"name,class\r\n\"a\tb\",", {text}},
        {"a\x1B[1m", {}},
    };
    for (const auto& [start, expected] : cases) {
        Kinds kinds;
        for (const host::FileKind kind : {image, drawing, set, imageJ, archive, json, text}) {
            if (host::IsOfKind(kind, start)) {
                kinds.insert(kind);
            }
        }
        EXPECT_EQ(kinds, expected) << start;
    }
}

TEST(Texts, AreNumbersOrNot) {
    const std::pair<const char*, std::optional<double>> numbers[] = {
        {"+7.5", 7.5},
        {"+-7", {}},
        {"++7", {}},
        {"+", {}},
        {"#1f", 31},
        {"#", {}},
        {"#-1", {}},
        {"#1G", {}},
        {"1e3", 1000},
        {"1e", {}},
        {" 1", {}},
        {"1 ", {}},
        {"0x1", {}},
        {"inf", {}},
        {"-.5", -0.5},
        {"1,5", {}},
        {"1e400", {}},
        {"nan", {}},
        {"#FFFFFFFFFFFFFFFF", 18446744073709551615.0},
    };
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(host::ParseNumber(text), number) << text;
    }
    const std::pair<const char*, std::optional<int>> integers[] = {
        {"-2147483648", -2147483647 - 1},
        {"2147483647", 2147483647},
        {"2147483648", {}},
        {"-2147483649", {}},
        {"1.5", {}},
        {"1e3", 1000},
        {"#10", 16},
        {"", {}},
    };
    for (const auto& [text, integer] : integers) {
        EXPECT_EQ(host::ParseInteger(text), integer) << text;
    }
    EXPECT_EQ(host::NumberText(-0.0), "0");
    EXPECT_EQ(host::NumberText(0.1 + 0.2), "0.30000000000000004");
}

TEST(Texts, HaveANearestName) {
    const std::vector<std::string> known = {"RadiusX", "radius", "Width", "Height", "CenterX"};
    const std::pair<const char*, const char*> cases[] = {
        {"RADIUS", "radius"}, {"RadiuX", "RadiusX"}, {"RadiusXY", "RadiusX"}, {"RadiusY", "RadiusX"},
        {"WIDTH", "Width"},   {"eight", "Height"},   {"CXenter", "CenterX"},  {"adius", "radius"},
    };
    for (const auto& [typed, nearest] : cases) {
        EXPECT_EQ(host::NearestName(typed, known), nearest) << typed;
    }
    // Another case is half of another letter; the first of equals.
    EXPECT_EQ(host::NearestName("ab", {"aBc", "xb", "AB"}), "xb");
    EXPECT_EQ(host::NearestName("ab", {"ax", "AB", "xb"}), "ax");
    EXPECT_EQ(host::NearestName("abcd", {"xbcd", "aBcd", "abcdxx"}), "aBcd");
    EXPECT_EQ(host::NearestName("abc", {"abcdd", "abbbc", "Abx"}), "Abx");
    EXPECT_EQ(host::NearestName("abc", {"ab", "abx"}), "ab");
    EXPECT_EQ(host::NearestName("abc", {"abcd", "abx"}), "abcd");
    EXPECT_EQ(host::NearestName("x", {}), "");
}

class SafeFile : public RoiCommand {
  protected:
    host::UserPath Path(const std::string& name) const { return host::UserPath((Folder() / name).string()); }
    mode_t Mode(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat((Folder() / name).c_str(), &status), 0) << name;
        return status.st_mode & 07777;
    }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(SafeFile, ANewVersionHasThePermissionsOfTheOldOneOrThoseOfNewFiles) {
    const mode_t before = umask(026);
    host::WriteWholeFile("set", Path("new"), "1");
    umask(before);
    EXPECT_EQ(Mode("new"), 0640U);
    for (const mode_t mode : {0604U, 0751U, 0600U}) {
        chmod((Folder() / "new").c_str(), mode);
        host::WriteWholeFile("set", Path("new"), "longer than before");
        EXPECT_EQ(Mode("new"), mode);
    }
    EXPECT_EQ(Bytes("new"), "longer than before");
    EXPECT_EQ(Names(), std::vector<std::string>{"new"});
}

TEST_F(SafeFile, OtherNamesOfAFileAreKept) {
    WriteBytes("file", "old");
    std::filesystem::create_symlink("file", Folder() / "link");
    std::filesystem::create_symlink("nowhere/file", Folder() / "loose");
    host::WriteWholeFile("set", Path("link"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(Folder() / "link"));
    EXPECT_EQ(Bytes("file"), "new");
    // What is no file of its own is written into.
    const std::string pipe = Folder() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    host::WriteWholeFile("set", Path("pipe"), "through");
    char bytes[16];
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(std::max<ssize_t>(read(reader, bytes, sizeof bytes), 0))),
              "through");
    close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_THROW(host::WriteWholeFile("set", Path("no/file"), "x"), host::Error);
    EXPECT_EQ(Names(), (std::vector<std::string>{"file", "link", "loose", "pipe"}));
}

TEST_F(SafeFile, ReadsWhatIsNotTooLong) {
    WriteBytes("file", "0123456789");
    EXPECT_EQ(host::ReadWholeFile("set", Path("file"), 10), "0123456789");
    EXPECT_THROW(host::ReadWholeFile("set", Path("file"), 9), host::Error);
    EXPECT_THROW(host::ReadWholeFile("set", host::UserPath("/dev/zero"), 1 << 20), host::Error);
    EXPECT_EQ(host::StartOfFile(Path("file"), 4), "0123");
    EXPECT_EQ(host::StartOfFile(Path("file"), 40), "0123456789");
    EXPECT_EQ(host::StartOfFile(Path("none"), 4), "");
    EXPECT_EQ(host::StartOfFile(Path("."), 4), "");
}

TEST_F(SafeFile, OnlyWhatAKilledProcessLeftIsRemoved) {
    const std::string left = ".roi-0123456789abcdef";
    const std::string busy = ".roi-0123456789abcde0";
    for (const std::string& name : {left, busy, left + "0", ".roi-short"s, ".rox-0123456789abcdef"s, "set"s}) {
        WriteBytes(name, "x");
    }
    std::filesystem::create_directory(Folder() / ".roi-0123456789abcde1");
    const int held = open((Folder() / busy).c_str(), O_RDONLY);
    ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
    host::RemoveLeftovers(Path("set"));
    EXPECT_EQ(Names(), (std::vector<std::string>{busy, ".roi-0123456789abcde1", left + "0", ".roi-short",
                                                 ".rox-0123456789abcdef", "set"}));
    close(held);
}

// Sides that part marked pixels from others, as steps of one pixel: x, y, and whether it is level.
using Steps = std::multiset<std::tuple<int, int, bool>>;

TEST(Border, PartsThePixelsThatCountFromOthers) {
    const std::vector<std::string> pictures[] = {
        {"..##.#.",  // a hole, corners that touch, and a lone pixel far below
         ".##.##.", "#.#####", "##....#", ".......", ".......", "...p..p"},
        {"p#p", "ppp", ".#."},
        {"#####"},
        {"...", "...", ".p."},
    };
    for (const auto& picture : pictures) {
        constexpr int kLeft = -3;
        constexpr int kTop = 5;
        host::PixelSet pixels;
        Steps expected;
        const auto counts = [&picture](int x, int y) {
            return y >= 0 && x >= 0 && y < static_cast<int>(picture.size()) &&
                   x < static_cast<int>(picture[0].size()) &&
                   picture[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] != '.';
        };
        for (int y = 0; y <= static_cast<int>(picture.size()); ++y) {
            for (int x = 0; x <= static_cast<int>(picture[0].size()); ++x) {
                if (counts(x, y) != counts(x, y - 1)) {
                    expected.emplace(kLeft + x, kTop + y, true);
                }
                if (counts(x, y) != counts(x - 1, y)) {
                    expected.emplace(kLeft + x, kTop + y, false);
                }
                if (!counts(x, y)) {
                    continue;
                }
                if (picture[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == 'p') {
                    pixels.parts.push_back({kTop + y, kLeft + x, 0.25});
                } else {
                    pixels.AddSpan(kTop + y, kLeft + x, kLeft + x);
                }
            }
        }
        Steps steps;
        const std::vector<host::BorderLine> lines = host::BorderOf(pixels);
        for (const host::BorderLine& line : lines) {
            const bool level = line.y0 == line.y1;
            ASSERT_TRUE(level ? line.x0 < line.x1 : line.x0 == line.x1 && line.y0 < line.y1);
            for (int at = 0; at < line.x1 - line.x0 + line.y1 - line.y0; ++at) {
                steps.emplace(line.x0 + (level ? at : 0), line.y0 + (level ? 0 : at), level);
            }
        }
        EXPECT_EQ(steps, expected);
        // As long as can be: no line begins where another of its kind ends.
        for (const host::BorderLine& a : lines) {
            for (const host::BorderLine& b : lines) {
                EXPECT_FALSE(a.x1 == b.x0 && a.y1 == b.y0 && (a.x0 == a.x1) == (b.x0 == b.x1)) << a.x1 << ' ' << a.y1;
            }
        }
    }
    EXPECT_TRUE(host::BorderOf({}).empty());
}

}  // namespace
