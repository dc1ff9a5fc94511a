// Set files that are small on disk and immense in memory: refused in one line, within a bounded memory.
#include <opencv2/imgcodecs.hpp>

#include "framework/support/FolderStream.h"
#include "tests/host/RunRoi.h"

namespace {

#if defined(ROI_SANITIZE)
constexpr const char* kMemory = "unlimited";  // The sanitizer maps terabytes.
#else
constexpr const char* kMemory = "1048576";  // KiB
#endif

/// A PNG as far as its size; the pixels are missing.
std::string PngStart(std::uint32_t width, std::uint32_t height, const char* depthAndColor) {
    std::string png("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);
    for (const std::uint32_t word : {width, height}) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            png += static_cast<char>(word >> shift & 0xFF);
        }
    }
    return png.append(depthAndColor, 2).append(7, '\0');
}

class Hostile : public RoiCommand {
  protected:
    /// The set `a.roi` with one of its blocks replaced.
    void WriteSet(const std::string& path, const std::string& block) const {
        FolderArchive archive = FolderArchive::FromBytes(Bytes("a.roi"));
        archive.Put(path, FolderArchive::Block(block.begin(), block.end()));
        WriteBytes("hostile.roi", archive.ToBytes());
    }
    /// Runs the command with so many KiB to map.
    RunResult RunWithin(const std::string& kib, std::vector<std::string> words) const {
        const std::string limit = "ulimit -c 0; ulimit -v " + kib + "; exec \"$@\"";
        words.insert(words.begin(), {"/bin/bash", "-c", limit, "-", BIN_DIR "/roi"});
        return RunProgram(std::move(words), Folder());
    }
    void ExpectRefusal(const std::string& set, const std::string& line) const {
        const RunResult result = RunWithin(kMemory, {"list", set});
        EXPECT_EQ(result.err, "roi: error: " + line + "\n");
        EXPECT_EQ(result.exitCode, 1);
    }
};

TEST_F(Hostile, BlocksOfASetAreRefusedBeforeTheyFillTheMemory) {
    Done({"add", "a.roi", "ROIMask", "--name", "m"});
    Done({"add", "a.roi", "ROIShape", "--name", "s", "--points", "1,2"});
    const std::string listing = "figures.json";
    const std::string mask = "figures/m/mask.png";
    const std::string geometry = "figures/s/geometry.json";
    const std::string figure = R"({"name":"s","class":"ROIShape"})";
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {mask, PngStart(65536, 4097, "\x08\0"), "figure m: with its mask the set has too many pixels"},
        {mask, PngStart(0xFFFFFFFF, 0xFFFFFFFF, "\x08\0"), "figure m: with its mask the set has too many pixels"},
        {mask, PngStart(16, 16, "\x10\x06"), "figure m: its mask is damaged"},
        {mask, PngStart(16, 16, "\x08\0").substr(0, 25), "figure m: its mask is damaged"},
        {mask, "BM a bitmap", "figure m: its mask is damaged"},
        {listing, std::string(16 << 20, '['), "a text in it is nested too deeply"},
        {listing, std::string((16 << 20) + 1, ' '), "a text in it is too long"},
        {listing, "[" + figure + "," + figure + "]", "name taken: s: the set has a figure of that name"},
        {geometry, "[[\"\\\"]\",[", "a text in it is nested too deeply"},
        {geometry, std::string((16 << 20) + 1, ' '), "a text in it is too long"},
    };
    for (const auto& [path, block, why] : cases) {
        SCOPED_TRACE(path + ": " + block.substr(0, 60));
        WriteSet(path, block);
        ExpectRefusal("hostile.roi", std::string("broken set: hostile.roi: ") + why);
    }
}

TEST_F(Hostile, FilesOfAnySizeAreRefusedBeforeTheyFillTheMemory) {
    WriteBytes("long.xml", "<figures>" + std::string(32 << 20, ' ') + "</figures>");
    ExpectRefusal("long.xml", "broken set: long.xml: a text in it is too long");
    for (const char* set : {"huge.roi", "huge.xml"}) {
        WriteBytes(set, "");
        std::filesystem::resize_file(Folder() / set, std::uintmax_t{8} << 30);  // All of it a hole.
        ExpectRefusal(set, std::string("cannot read set: ") + set + ": File too large");
    }
}

// Wherever there is memory enough to start, the set is listed or the lack is named, and the file is never blamed.
TEST_F(Hostile, ALackOfMemoryIsNotBlamedOnASoundSet) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "the sanitizer maps terabytes";
#endif
    std::string points;
    for (int i = 0; i < 200000; ++i) {
        points += (i == 0 ? "[[" : ",[") + std::to_string(i) + ".25," + std::to_string(i % 97) + ".5]";
    }
    Done({"add", "a.roi", "ROIShape", "--name", "s", "--points", "1,2"});
    WriteSet("figures/s/geometry.json", points + "]");
    int lacks = 0;
    RunResult result;
    for (int kib = 20 << 10; result.exitCode != 0 && kib < 600 << 10; kib += 2 << 10) {
        if (RunWithin(std::to_string(kib), {"classes"}).exitCode != 0) {
            continue;
        }
        result = RunWithin(std::to_string(kib), {"list", "hostile.roi"});
        lacks += result.exitCode != 0;
        EXPECT_TRUE(result.exitCode == 0 || Starts(result.err, "roi: error: out of memory: ")) << kib << result.err;
    }
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_GT(lacks, 0);
}

// However little there is, nothing ends by a signal, and an image that fits is measured beside one that does not.
TEST_F(Hostile, AnImageThatDoesNotFitInMemoryFailsAlone) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "the sanitizer maps terabytes";
#endif
    Done({"add", "a.roi", "ROIRectangle", "--name", "r", "CenterX=4", "CenterY=3", "Width=5", "Height=3"});
    cv::imwrite((Folder() / "small.png").string(), cv::Mat(8, 12, CV_8U, cv::Scalar(7)));
    // Its decoder holds a progressive one as a whole.
    cv::imwrite((Folder() / "big.jpg").string(), cv::Mat(7000, 9000, CV_8U, cv::Scalar(7)),
                {cv::IMWRITE_JPEG_PROGRESSIVE, 1});
    int alone = 0;
    RunResult result;
    for (int kib = 60 << 10; result.exitCode != 0 && kib < 1 << 20; kib += 12 << 10) {
        result =
            RunWithin(std::to_string(kib), {"measure", "a.roi", "small.png", "big.jpg", "small.png", "--keep-going",
                                            "--jobs", "2", "--format", "csv", "--columns", "image,sum"});
        EXPECT_LT(result.exitCode, 8) << kib << result.err;
        EXPECT_TRUE(result.exitCode == 0 || Has(result.err, "error: ")) << kib;
        if (result.exitCode == 7 && result.out == "image,sum\nsmall.png,105\nsmall.png,105\n") {
            EXPECT_TRUE(Starts(result.err, "roi: error: cannot ") && Has(result.err, ": big.jpg: ")) << result.err;
            ++alone;
        }
    }
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_GT(alone, 0);
    // One that fails at once is named, too, whatever library lacks the memory.
    WriteBytes(
        "big.gif",
        std::string("GIF89a\x60\x6D\x60\x6D\x80\0\0\0\0\0\xFF\xFF\xFF,\0\0\0\0\x60\x6D\x60\x6D\0\2\2\x44\1\0;", 35));
    for (const auto& [image, kib] : {std::pair("big.jpg", "100000"), {"big.gif", "1000000"}}) {
        const RunResult failed = RunWithin(kib, {"measure", "a.roi", image, "--jobs", "1"});
        EXPECT_EQ(failed.exitCode, 1) << image;
        EXPECT_TRUE(Starts(failed.err, std::string("roi: error: cannot read image: ") + image + ": ")) << failed.err;
    }
}

}  // namespace
