// Files of other programs: what comes over, what comes back, and what is refused.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

#include "tests/host/RunRoi.h"

namespace {

using json = nlohmann::ordered_json;

class Exchange : public RoiCommand {
  protected:
    json Listing(const std::string& set) const { return json::parse(Done({"list", set, "--format", "json"})); }
    /// The number of pixels, the mean and the extremes of every figure on an image of many values.
    std::string Measured(const std::string& set) const {
        return Done({"measure", set, "i.pgm", "--columns", "name,pixels,mean,min,max", "--format", "csv"});
    }
    void MakeFigures() const {
        std::string pixels;
        for (int i = 0; i < 60 * 50; ++i) {
            pixels += static_cast<char>(i * 37 % 251);
        }
        WriteBytes("i.pgm", "P5 60 50 255\n" + pixels);
        WriteBytes("m.pgm", "P5 3 2 255\n" + std::string("\1\0\0\1\1\0", 6));
        Done({"add", "a.roi", "ROIRectangle", "--name", "box", "CenterX=20.5", "CenterY=11", "Width=8", "Height=5"});
        Done({"add", "a.roi", "ROIRectangle", "--name", "rolled", "CenterX=30", "CenterY=20", "Width=17", "Height=6",
              "Angle=25"});
        Done({"add", "a.roi", "ROIParallelogram", "--name", "slant", "CenterX=25", "CenterY=30", "Width=12", "Height=7",
              "Shear=20"});
        Done({"add", "a.roi", "ROIEllipse", "--name", "\xE5\xAD\x94 1", "CenterX=40.5", "CenterY=15", "RadiusX=9.25",
              "RadiusY=4.5"});
        Done({"add", "a.roi", "ROIDonut", "--name", "ring", "CenterX=22", "CenterY=24", "RadiusX1=5", "RadiusY1=5",
              "RadiusX2=11", "RadiusY2=11"});
        Done({"add", "a.roi", "ROIShape", "--name", "shape", "--points", "3,4", "30.5,7", "12,40"});
        Done({"add", "a.roi", "ROIProfile", "--name", "line", "Thickness1=2", "Thickness2=2", "--points", "5,6",
              "50,9"});
        Done({"add", "a.roi", "ROIMask", "--name", "mask", "--mask", "m.pgm", "CenterX=30", "CenterY=20.5"});
    }
};

TEST_F(Exchange, OwnTextFormsKeepEveryFigureExactly) {
    MakeFigures();
    Done({"point", "a.roi", "line", "add", "33,44.25"});
    Done({"drag", "a.roi", "line", "4:1", "40,30"});  // Thicknesses of its own.
    for (const char* file : {"f.csv", "f.json"}) {
        Done({"export", "a.roi", file});
        const std::string set = std::string(file) + ".roi";
        EXPECT_EQ(Roi({"import", set, file}).err, "");
        EXPECT_EQ(Listing(set), Listing("a.roi"));
        EXPECT_EQ(Done({"nodes", set, "line"}), Done({"nodes", "a.roi", "line"}));
        EXPECT_EQ(Measured(set), Measured("a.roi"));
    }
}

TEST_F(Exchange, OthersKeepWhatTheyCanSay) {
    MakeFigures();
    // Which figures come back as they are, by their number.
    const std::tuple<const char*, const char*, std::vector<std::size_t>> cases[] = {
        {"geojson", "f.geojson", {0, 3, 5}},
        {"napari", "n.geojson", {0, 3, 5}},
        {"imagej", "f.zip", {1, 3, 5, 6}},
        {"labelme", "l.json", {5}},
        {"coco", "c.json", {5}},
    };
    const json before = Listing("a.roi");
    for (const auto& [format, file, kept] : cases) {
        SCOPED_TRACE(format);
        Done({"export", "a.roi", file, "--as", format});
        const std::string set = std::string(format) + ".roi";
        Done({"import", set, file, "--as", format});
        json after = Listing(set);
        ASSERT_GE(after.size(), before.size());
        for (const std::size_t i : kept) {
            EXPECT_EQ(after[i].at("class"), before[i].at("class"));
            EXPECT_EQ(after[i].at("name"), before[i].at("name"));
            for (const auto& [name, value] : before[i].at("parameters").items()) {
                EXPECT_NEAR(after[i]["parameters"].value(name, 0.0), value.get<double>(), 1e-5) << i << name;
            }
        }
        EXPECT_EQ(after[5].at("holds"), "3 points");
    }
    const json feature = json::parse(Bytes("f.geojson")).at("features").at(0);
    EXPECT_EQ(feature.at("geometry").at("coordinates").at(0).at(1), json({25.0, 9.0}));
    EXPECT_EQ(feature.at("properties").at("name"), "box");
}

/// A file of ImageJ's own making: a rectangle at (10, 20), 30 x 40.
std::string ImageJRectangle() {
    std::string file = "Iout";
    for (const int value : {228, 1 << 8, 20, 10, 60, 40}) {
        file += {static_cast<char>(value >> 8), static_cast<char>(value)};
    }
    return file + std::string(64 - file.size(), '\0');
}

TEST_F(Exchange, ImageJsPixelsAreShiftedByHalf) {
    WriteBytes("cell.roi", ImageJRectangle());
    Done({"import", "a.roi", "cell.roi"});
    EXPECT_TRUE(Has(Done({"list", "a.roi", "--format", "csv"}),
                    "ROIRectangle,24.5,39.5,CenterX=24.5 CenterY=39.5 "
                    "Width=30 Height=40 "));
    EXPECT_TRUE(Has(Roi({"list", "cell.roi"}).err, "roi import"));
}

TEST_F(Exchange, ManyFiguresComeInOneCommand) {
    std::string csv = "name,class,parameters,points\n";
    for (int i = 0; i < 300; ++i) {
        csv += "same,ROIEllipse,CenterX=" + std::to_string(i) + " RadiusY=2.5,\n";
    }
    WriteBytes("f.csv", csv);
    const RunResult result = Roi({"import", "a.roi", "f.csv"});
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 299);  // Names made fit.
    const json rows = Listing("a.roi");
    ASSERT_EQ(rows.size(), 300u);
    EXPECT_EQ(rows[299].at("name"), "same 300");
    Done({"undo", "a.roi"});
    EXPECT_TRUE(Listing("a.roi").empty());
}

TEST_F(Exchange, LabelsBecomeMasks) {
    WriteBytes("l.pgm", "P5 4 3 255\n" + std::string("\0\3\3\0\0\3\0\7\0\0\0\7", 12));
    Done({"import", "a.roi", "l.pgm", "--as", "labels"});
    Done({"measure", "a.roi", "l.pgm"});
    EXPECT_EQ(Done({"measure", "a.roi", "l.pgm", "--columns", "name,pixels,min,left,top", "--format", "csv"}),
              "name,pixels,min,left,top\nlabel 3,3,3,1,0\nlabel 7,2,7,3,1\n");
}

TEST_F(Exchange, UnsoundFilesAreRefusedInOneLineAndChangeNothing) {
    Done({"add", "a.roi", "ROIDonut", "--name", "ring"});
    const std::string before = Bytes("a.roi");
    const std::string box = ImageJRectangle();
    std::string path = box;
    path.replace(36, 4, std::string("\xFF\xFF\xFF\xFF", 4));
    const std::pair<const char*, std::string> cases[] = {
        {"a.json", "["},
        {"b.json", std::string(1000, '[')},
        {"c.json", R"([{"name":"x","class":"ROIDonut","parameters":{"Radius":3}}])"},
        {"d.json", R"([{"name":"x","class":"ROIMask","mask":{"width":65536,"height":65536,"counts":[]}}])"},
        {"e.json", R"([{"name":"x","class":"ROIMask","mask":{"width":2,"height":2,"counts":[1,2]}}])"},
        {"a.csv", "name;class\n"},
        {"b.csv", "name,class,parameters\nx,ROIDonut,\"CenterX=1\n"},
        {"a.geojson", R"({"type":"Polygon","coordinates":[[[0,0],[1e300,0],[0,1e300]],[[0,0],[1,0],[0,1]]]})"},
        {"b.geojson", R"({"type":"Polygon","coordinates":3})"},
        {"a.zip", "PK\5\6"},
        {"cut.roi", box.substr(0, 30)},
        {"path.roi", path},
        {"a.png", "no image"},
        {"c.csv", ""},
    };
    for (const auto& [file, bytes] : cases) {
        SCOPED_TRACE(file);
        WriteBytes(file, bytes);
        const RunResult result = Roi({"import", "a.roi", file});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Starts(result.err, std::string("roi: error: cannot import: ") + file + ": "));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(Bytes("a.roi"), before);
    }
}

}  // namespace
