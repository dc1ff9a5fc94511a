// Image files of every kind, made by the tools of others: what is read is what is stored, and damage is told.
#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>

#include "host/base/Error.h"
#include "host/draw/Display.h"
#include "host/images/Image.h"

namespace host {

namespace {

namespace fs = std::filesystem;

class ImageFiles : public ::testing::Test {
  protected:
    ImageFiles() {
        std::string name = (fs::temp_directory_path() / "roi-images-XXXXXX").string();
        m_folder = mkdtemp(name.data());
    }
    ~ImageFiles() override { fs::remove_all(m_folder); }

    std::string File(const std::string& name) const { return (m_folder / name).string(); }
    bool Runs(const std::string& script) const {
        return std::system(("cd " + m_folder.string() + " && (" + script + ") >/dev/null 2>&1").c_str()) == 0;
    }
    std::string Bytes(const std::string& name) const {
        std::ifstream stream(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    void WriteBytes(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }
    // What is thrown for a file; empty when it is read.
    std::string Refusal(const std::string& name) const {
        try {
            LoadImage(UserPath(File(name)));
            return "";
        } catch (const Error& error) {
            return error.what();
        }
    }

  private:
    fs::path m_folder;
};

std::vector<double> PixelAt(const RasterView& image, int x, int y) {
    return InType(image.depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        const Value* const pixel = image.Row<Value>(y) + x * image.channels;
        return std::vector<double>(pixel, pixel + image.channels);
    });
}

// Red, green and blue are 10 x + y, 100 + x and 200 - y: 13 columns and 9 rows of them.
constexpr int kX = 11;
constexpr int kY = 7;
const std::vector<double> kColour = {117, 111, 193};
const char* const kNumpy =
    "/usr/bin/python3 -c 'import numpy as n, tifffile as t; y, x = n.mgrid[0:9, 0:13]; "
    "c = n.stack([10*x+y, 100+x, 200-y], 2).astype(n.uint8); ";

struct Made {
    const char* file;
    std::string how;  // numpy's and tifffile's calls, or a shell's after `$`
    Depth depth;
    std::vector<double> pixel;  // at column 11 and row 7
};

TEST_F(ImageFiles, OfEveryKindHoldWhatTheToolsOfOthersStored) {
    if (!Runs("/usr/bin/python3 -c 'import tifffile' && command -v convert tiffcp")) {
        GTEST_SKIP() << "tifffile, ImageMagick or libtiff's tools are not installed";
    }
    ASSERT_TRUE(Runs(kNumpy + std::string("t.imwrite(\"c.tif\", c, photometric=\"rgb\")'")));
    const std::string rgba = "n.dstack([c, 0 * c[:, :, :1] + 3])";
    const Made cases[] = {
        {"strips.tif", "t.imwrite(f, c, photometric=\"rgb\", rowsperstrip=2)", Depth::u8, kColour},
        {"packed.tif", "$tiffcp -c lzw -p contig -r 4 c.tif packed.tif", Depth::u8, kColour},
        {"planar.tif", "$tiffcp -c zip -p separate -r 2 c.tif planar.tif", Depth::u8, kColour},
        {"tiles.tif", "$tiffcp -t -w 16 -l 16 c.tif tiles.tif", Depth::u8, kColour},
        {"apart.tif", "$tiffcp -t -w 16 -l 16 -p separate c.tif apart.tif", Depth::u8, kColour},
        {"big.tif", "t.imwrite(f, c, photometric=\"rgb\", bigtiff=True, byteorder=\">\")", Depth::u8, kColour},
        {"alpha.tif",
         "t.imwrite(f, " + rgba + ", photometric=\"rgb\", extrasamples=[\"assocalpha\"])",
         Depth::u8,
         {117, 111, 193, 3}},
        {"i8.tif", "t.imwrite(f, (y - x).astype(n.int8))", Depth::i8, {-4}},
        {"u16.tif", "t.imwrite(f, (5000 * x + y).astype(n.uint16))", Depth::u16, {55007}},
        {"i16.tif", "t.imwrite(f, (-2000 * x).astype(n.int16), byteorder=\">\")", Depth::i16, {-22000}},
        {"u32.tif", "t.imwrite(f, (300000000 * x).astype(n.uint32))", Depth::u32, {3.3e9}},
        {"i64.tif", "t.imwrite(f, (-(1 << 40) * y).astype(n.int64))", Depth::i64, {-7.0 * (std::int64_t{1} << 40)}},
        {"half.tif", "t.imwrite(f, (y / 2 - x).astype(n.float16))", Depth::f32, {-7.5}},
        {"f32.tif", "t.imwrite(f, (x + y / 4).astype(n.float32))", Depth::f32, {12.75}},
        {"f64.tif", "t.imwrite(f, x + y / 3)", Depth::f64, {11 + 7 / 3.0}},
        {"bits.tif", "t.imwrite(f, (x + y) % 3 == 0, photometric=\"minisblack\")", Depth::u8, {1}},
        {"palette.tif", "$convert c.tif -type Palette palette.tif", Depth::u8, kColour},
        {"c.png", "$convert c.tif -depth 8 c.png", Depth::u8, kColour},
        {"laced.png", "$convert c.tif -interlace PNG laced.png", Depth::u8, kColour},
        {"palette.png", "$convert c.tif -type Palette PNG8:palette.png", Depth::u8, kColour},
        {"alpha.png", "$convert c.tif -alpha set -channel A -evaluate set 1% alpha.png", Depth::u8, {117, 111, 193, 3}},
        {"deep.png", "$convert u16.tif -depth 16 deep.png", Depth::u16, {55007}},
        {"bits.png", "$convert bits.tif -depth 1 bits.png", Depth::u8, {1}},
        {"c.bmp", "$convert c.tif c.bmp", Depth::u8, kColour},
        {"c.ppm", "$convert c.tif c.ppm", Depth::u8, kColour},
        {"plain.ppm", "$convert c.tif -compress none plain.ppm", Depth::u8, kColour},
        {"bits.pbm", "$convert bits.tif bits.pbm", Depth::u8, {1}},
        {"bits.pgm", "$printf 'P1 13 9 #\\n%0102d111%012d' 0 0 > bits.pgm", Depth::u8, {0}},
        {"12.pgm",
         "open(f, \"wb\").write(b\"P5\\n13 9 4095\\n\" + (301*x+y).astype(\">u2\").tobytes())",
         Depth::u16,
         {3318}},
        {"12.jp2", "$convert bits.tif -depth 12 -quality 0 12.jp2", Depth::u16, {4095}},
        {"c.gif", "$convert c.tif c.gif", Depth::u8, kColour},
        {"c.webp", "$convert c.tif -define webp:lossless=true c.webp", Depth::u8, kColour},
        {"c.jp2", "$convert c.tif -quality 0 -define jp2:rate=1 c.jp2", Depth::u8, kColour},
        {"u16.fits", "$convert u16.tif u16.fits", Depth::u16, {55007}},
        {"c.exr",
         "$convert c.tif -alpha set -channel RGB -evaluate set 25% -channel A -evaluate set 50% c.exr",
         Depth::f32,
         {0.25, 0.25, 0.25, 0.5}},
    };
    for (const Made& made : cases) {
        SCOPED_TRACE(made.file);
        const bool isShell = made.how[0] == '$';
        if (!Runs(isShell ? made.how.substr(1)
                          : kNumpy + ("f = \"" + std::string(made.file) + "\"; ") + made.how + "'")) {
            ADD_FAILURE() << "cannot be made";
            continue;
        }
        ASSERT_EQ(Refusal(made.file), "");
        const Image image = LoadImage(UserPath(File(made.file)));
        EXPECT_EQ(image.page.size, (PixelSize{13, 9}));
        EXPECT_EQ(image.page.depth, made.depth);
        EXPECT_EQ(PixelAt(image.pixels.View(), kX, kY), made.pixel);
        EXPECT_EQ(image.page.isColour, made.pixel.size() >= 3);
        EXPECT_EQ(image.page.hasAlpha, made.pixel.size() % 2 == 0);
        ImageFile again{UserPath(File(made.file))};
        EXPECT_EQ(PixelAt(again.Read({9, 5, 4, 3}).pixels.View(), kX - 9, kY - 5), made.pixel);
        ImageFile anyOrder{UserPath(File(made.file))};
        ASSERT_EQ(anyOrder.Go(8), fs::path(made.file).extension() == ".tif");
        for (const int row : {8, kY, 0, 3, kY}) {
            Raster one({13, 1}, image.page.channels, image.page.depth);
            if (anyOrder.Go(row)) {
                ASSERT_EQ(anyOrder.ReadRows(1, one.Row<std::byte>(0)), 1);
                EXPECT_EQ(PixelAt(one.View(), kX, 0), PixelAt(image.pixels.View(), kX, row)) << row;
            }
        }
        if (made.pixel.size() >= 3 && made.depth == Depth::u8) {
            EXPECT_EQ(PixelAt(Luma(image).View(), kX, kY)[0], 0.299 * 117 + 0.587 * 111 + 0.114 * 193);
        }
    }
}

// Rows with a filter that libpng is told to use.
void WriteFiltered(const std::string& path, const RasterView& image, int filters) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.size.width), static_cast<png_uint_32>(image.size.height),
                 image.depth == Depth::u8 ? 8 : 16, image.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, filters);
    png_write_info(png, info);
    png_set_swap(png);  // the bytes of what has two
    for (int y = 0; y < image.size.height; ++y) {
        png_write_row(png, image.Row<png_byte>(y));
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
}

TEST_F(ImageFiles, ThatArePngsOfAnyFilterHoldEveryPixelAsItWas) {
    for (const auto& [channels, depth] : {std::pair(1, Depth::u8), {3, Depth::u8}, {1, Depth::u16}, {3, Depth::u16}}) {
        Raster image({13, 9}, channels, depth);
        std::mt19937 random(1);
        for (int y = 0; y < 9; ++y) {
            png_byte* const row = image.Row<png_byte>(y);
            for (std::size_t i = 0; i < 13 * static_cast<std::size_t>(channels) * BytesOf(depth); ++i) {
                row[i] = static_cast<png_byte>((i > 0 ? row[i - 1] : 99 * y) + random() % 40);
            }
        }
        for (const int filter : {PNG_FILTER_SUB, PNG_FILTER_UP, PNG_FILTER_AVG, PNG_FILTER_PAETH, PNG_ALL_FILTERS}) {
            WriteFiltered(File("a.png"), image.View(), filter);
            const Raster read = LoadImage(UserPath(File("a.png"))).pixels;
            ASSERT_EQ(read.Size(), image.Size());
            for (int i = 0; i < 9 * 13; ++i) {
                EXPECT_EQ(PixelAt(read.View(), i % 13, i / 13), PixelAt(image.View(), i % 13, i / 13)) << filter;
            }
        }
    }
}

TEST_F(ImageFiles, HavePagesThatAreNamedAndSelected) {
    if (!Runs("/usr/bin/python3 -c 'import tifffile' && command -v convert")) {
        GTEST_SKIP() << "tifffile or ImageMagick is not installed";
    }
    ASSERT_TRUE(
        Runs("/usr/bin/python3 -c 'import numpy as n, tifffile as t; "
             "t.imwrite(\"p.ome.tif\", n.arange(4 * 6 * 5, dtype=n.uint16).reshape(4, 6, 5))' && "
             "convert -size 5x6 xc:gray20 xc:gray40 xc:gray60 s.gif"));
    const ImageFile stack(UserPath(File("p.ome.tif")));
    EXPECT_EQ(stack.Pages(), 4);
    EXPECT_EQ(stack.Wanted(PageSelection("4,1-2")), (std::vector<int>{1, 2, 4}));
    EXPECT_THROW(stack.Wanted(PageSelection("5-9")), Error);
    EXPECT_EQ(PixelAt(LoadImage(UserPath(File("p.ome.tif:3"))).pixels.View(), 2, 1), std::vector<double>{67});
    EXPECT_EQ(ImageFile(UserPath(File("p.ome.tif:3"))).Wanted(PageSelection("1")), std::vector<int>{3});
    EXPECT_EQ(PixelAt(LoadImage(UserPath(File("s.gif:2"))).pixels.View(), 2, 1)[0], 102);
    EXPECT_EQ(Refusal("s.gif:4"), "cannot read image: " + File("s.gif:4") + ": it has 3 pages");
    // A file of that name is that file.
    fs::copy_file(File("s.gif"), File("p.ome.tif:3"));
    EXPECT_EQ(ImageFile(UserPath(File("p.ome.tif:3"))).Pages(), 3);
    for (const char* text : {"", "0", "3-2", "1,", "a", "1-", "2147483648"}) {
        EXPECT_THROW(PageSelection{text}, Error) << text;
    }
}

// A picture with enough in it for its files to have a middle.
Raster Noisy() {
    Raster image({120, 90}, 3, Depth::u8);
    unsigned state = 7;
    for (int i = 0; i < 120 * 90 * 3; ++i) {
        state = state * 1664525U + 1013904223U;
        image.Data()[i] = static_cast<std::byte>(state >> 26);
    }
    return image;
}

TEST_F(ImageFiles, ThatAreDamagedAreRefusedOrReadAsFarAsTheyGo) {
    const Raster image = Noisy();
    for (const char* whole : {"a.png", "a.jpg", "a.tif"}) {
        SaveImage("picture", UserPath(File(whole)), image.View());
        EXPECT_EQ(Refusal(whole), "");
        const std::string bytes = Bytes(whole);
        std::string flipped = bytes;
        for (const std::size_t place : {2, 3, 5}) {
            flipped[bytes.size() * place / 7] = static_cast<char>(flipped[bytes.size() * place / 7] ^ 0x5A);
        }
        const std::string kind = fs::path(whole).extension();
        WriteBytes("cut" + kind, bytes.substr(0, bytes.size() * 2 / 3));
        WriteBytes("flipped" + kind, flipped);
        for (const std::string& name : {"cut" + kind, "flipped" + kind}) {
            SCOPED_TRACE(name);
            EXPECT_TRUE(Refusal(name).starts_with("cannot read image: " + File(name) + ": "));
            if (name == "cut.tif") {
                continue;  // Its directory lies at the end.
            }
            ImageFile file(UserPath(File(name)), Damage::taken);
            const Image read = file.Read();
            EXPECT_TRUE(file.IsDamaged());
            EXPECT_GT(read.pixels.Size().height, name.starts_with("cut") ? 45 : 0);
            EXPECT_LE(read.pixels.Size().height, 90);
            if (kind != ".jpg") {
                EXPECT_EQ(PixelAt(read.pixels.View(), 77, 3), PixelAt(image.View(), 77, 3));
            }
        }
    }
}

TEST_F(ImageFiles, ThatAreNoneAreRefusedByName) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "the file is empty"},
        {"text", "not an image of a known format (PNG, JPEG, TIFF, "},
        {"%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 9 9\n", "not an image of a known format"},
        {"<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>", "not an image of a known format"},
        {"P5\n2000000 2000000\n255\n", "2000000 x 2000000 pixels of 1 channels are too many"},
        {"P5\n@3 2\n255\n", "it has something else where a number belongs"},
        {"P2\n2 2\n255\n1 x 3 4", "it has something else where a number belongs"},
        {"P2\n2 2\n255\n1 2 3", "the file is cut short"},
        {"P2\n2 2\n9\n1 2 3 10\n", "it has a value above the largest that it names"},
        {"P5 2 1 9\n\1\x0A", "it has a value above the largest that it names"},
        {std::string("P6 1 1 256\n\1\0\1\1\0\0", 17), "it has a value above the largest that it names"},
        {"P1 4 2 01011", "the file is cut short"},
        {"P1 4 2 01021111", "it has something else where a number belongs"},
        {"P4 10 2\n\xAA\x40\x55", "the file is cut short"},
        {"P4 10", "the file is cut short"},
        {"P5 0 2 255\n", "no image has its size, 0 2"},
        {"P5 99999999 2 255\n", "no image has its size, 99999999 2"},
        {"P2\n2 2\n65536\n1 2 3 4", "its values are of an unknown kind"},
        {std::string("\xFF\x4F\xFF\x51\0\x29\0\0\0\0\0\x0D\0\0\0\x09\0\0\0\2", 20) + std::string(30, '\0'),
         "its first pixel is not at the origin of its grid"},
        {std::string("v/1\1\2\0\0\0channels\0chlist\0\x13\0\0\0Z\0\1", 31) + std::string(40, '\0'),
         "it has neither colours (channels R, G and B) nor grey (Y)"},
        {std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\x0F\0\0\0\x0F\0\0\x08\0\0\0\0\xE1\x93\xF4\x0F", 33), ""},
        {std::string("II*\0\x08\0\0\0\0\0", 10), ""},
    };
    for (const auto& [bytes, why] : cases) {
        WriteBytes("x.png", bytes);
        EXPECT_TRUE(Refusal("x.png").starts_with("cannot read image: " + File("x.png") + ": " + why))
            << Refusal("x.png");
    }
    EXPECT_EQ(Refusal("none.png"), "cannot read image: " + File("none.png") + ": No such file or directory");
}

TEST_F(ImageFiles, ThatArePnmHaveCommentsWhereverABlankMayStand) {
    for (const char* bytes :
         {"P2#\n#P3\n3 2#9 9\n99 35 2 3#4 5\n#\n7 8 9#", "P5\n#\n#\n3 #4\n2\n99#255\n#\2\3\7\x08\x09"}) {
        WriteBytes("x.pgm", bytes);
        const Raster read = LoadImage(UserPath(File("x.pgm"))).pixels;
        ASSERT_EQ(read.Size(), (PixelSize{3, 2})) << bytes;
        const double values[] = {35, 2, 3, 7, 8, 9};
        for (int i = 0; i < 6; ++i) {
            EXPECT_EQ(PixelAt(read.View(), i % 3, i / 3)[0], values[i]) << bytes;
        }
    }
}

TEST_F(ImageFiles, ThatArePnmAreReadUpToTheLastWholeRowAndTheLargestValue) {
    const struct {
        std::string_view bytes;
        int rows;
        double last;  // of the last row
    } cases[] = {
        {"P1 4 3 0101 11", 1, 0},
        {"P2 2 3 9 1 2 3 300", 2, 9},
        {"P2 3 3 65535 1 2 3 4 5 65535 7 x", 2, 65535},
        {"P4 10 3\n\xAA\x80\x55", 1, 1},
        {"P5 4 3 255\nabcdefghij", 2, 'h'},
        {"P5 2 2 9\n\1\2\3\xFF", 2, 9},
        {{"P5 1 2 300\n\1\2\2\0", 15}, 2, 300},
    };
    for (const auto& c : cases) {
        WriteBytes("x.pnm", std::string(c.bytes));
        ImageFile file(UserPath(File("x.pnm")), Damage::taken);
        const Raster read = file.Read().pixels;
        EXPECT_TRUE(file.IsDamaged()) << c.bytes;
        ASSERT_EQ(read.Size().height, c.rows) << c.bytes;
        EXPECT_EQ(PixelAt(read.View(), read.Size().width - 1, c.rows - 1)[0], c.last) << c.bytes;
    }
}

TEST_F(ImageFiles, TellTheirResolutionAndAnOrientationThatIsNotFollowed) {
    if (!Runs("command -v convert tiffset")) {
        GTEST_SKIP() << "ImageMagick or libtiff's tools are not installed";
    }
    ASSERT_TRUE(
        Runs("convert -size 20x10 gradient: -units PixelsPerCentimeter -density 4000x5000 a.tif && "
             "convert a.tif a.png && convert -size 20x10 gradient: -units Undefined plain.png && "
             "tiffset -s 274 6 a.tif"));
    for (const char* file : {"a.tif", "a.png"}) {
        const auto pitch = ImageFile(UserPath(File(file))).Page().pitch;
        ASSERT_TRUE(pitch) << file;
        EXPECT_NEAR(pitch->x, 2.5e-6, 1e-12);
        EXPECT_NEAR(pitch->y, 2e-6, 1e-12);
    }
    EXPECT_FALSE(ImageFile(UserPath(File("plain.png"))).Page().pitch);
    SaveImage("picture", UserPath(File("plain.jpg")), Noisy().View());
    std::string turned = Bytes("plain.jpg");
    turned.insert(2, std::string("\xFF\xE1\0\x22"
                                 "Exif\0\0MM\0*\0\0\0\x08\0\1\x01\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0",
                                 36));
    WriteBytes("turned.jpg", turned);
    for (const char* file : {"a.tif", "turned.jpg"}) {
        const PageInfo page = ImageFile(UserPath(File(file))).Page();
        ASSERT_EQ(page.warnings.size(), 1U) << file;
        EXPECT_TRUE(page.warnings[0].starts_with("its orientation tag (6) is not followed")) << page.warnings[0];
        EXPECT_GT(page.size.width, page.size.height);
    }
}

TEST_F(ImageFiles, TellWhatOfThemIsNotRead) {
    if (!Runs("/usr/bin/python3 -c 'import tifffile'")) {
        GTEST_SKIP() << "tifffile is not installed";
    }
    SaveImage("picture", UserPath(File("moves.png")), Noisy().View());
    std::string animation = Bytes("moves.png");
    animation.insert(33, std::string("\0\0\0\x08"
                                     "acTL\0\0\0\2\0\0\0\0\xF3\x8D\x93\x70",
                                     20));
    WriteBytes("moves.png", animation);
    ASSERT_TRUE(Runs(kNumpy + std::string("t.imwrite(\"stack.tif\", c[..., 0], metadata=None, "
                                          "description=\"ImageJ=1.53\\nimages=300\\nslices=300\\n\")'")));
    for (const auto& [file, warning] : {std::pair("moves.png", "it is an animation: its first image alone is read"),
                                        {"stack.tif", "ImageJ has put 300 images into it, of which 1 can be read"}}) {
        EXPECT_EQ(ImageFile(UserPath(File(file))).Page().warnings, std::vector<std::string>{warning}) << file;
    }
}

TEST_F(ImageFiles, AreWrittenInEveryDepthThatTheirFormatHolds) {
    for (const Depth depth : {Depth::u8, Depth::u16, Depth::u32, Depth::i16, Depth::f32, Depth::f64}) {
        Raster image({5, 3}, depth == Depth::u16 ? 4 : 1, depth);
        InType(depth, [&](auto* type) {
            using Value = std::remove_pointer_t<decltype(type)>;
            for (int i = 0; i < 15 * image.Channels(); ++i) {
                image.Row<Value>(0)[i] = static_cast<Value>(i * 3 + 1);
            }
        });
        SaveImage("labels", UserPath(File("a.tif")), image.View());
        EXPECT_EQ(PixelAt(LoadImage(UserPath(File("a.tif"))).pixels.View(), 4, 1), PixelAt(image.View(), 4, 1));
        if (BytesOf(depth) <= 2 && depth != Depth::i16) {
            SaveImage("labels", UserPath(File("a.png")), image.View());
            EXPECT_EQ(PixelAt(LoadImage(UserPath(File("a.png"))).pixels.View(), 4, 1), PixelAt(image.View(), 4, 1));
        } else {
            EXPECT_THROW(SaveImage("labels", UserPath(File("b.png")), image.View()), Error);
            EXPECT_FALSE(fs::exists(File("b.png")));
        }
    }
}

TEST_F(ImageFiles, AreShownWithoutTheirOutliers) {
    Image deep{{}, Raster({100, 100}, 1, Depth::f32)};
    deep.page.depth = Depth::f32;
    float* const values = deep.pixels.Row<float>(0);
    for (int i = 0; i < 10000; ++i) {
        values[i] = static_cast<float>(i % 100);
    }
    values[50] = 1e9F;
    values[51] = std::numeric_limits<float>::quiet_NaN();
    const Raster shown = ForDisplay(deep.pixels.View());
    EXPECT_EQ(PixelAt(shown.View(), 99, 9), (std::vector<double>{255, 255, 255}));
    EXPECT_EQ(PixelAt(shown.View(), 33, 9), (std::vector<double>{85, 85, 85}));
    EXPECT_EQ(PixelAt(shown.View(), 50, 0)[0], 255);
    EXPECT_EQ(PixelAt(shown.View(), 51, 0)[0], 0);
}

}  // namespace

}  // namespace host
