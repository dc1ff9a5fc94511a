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

TEST_F(Exchange, FilesForOthersCarryTheFigure) {
    MakeFigures();
    Done({"point", "a.roi", "line", "add", "33,44.25"});
    Done({"drag", "a.roi", "line", "4:1", "40,30"});
    for (const char* format : {"geojson", "napari", "imagej", "coco", "labelme"}) {
        SCOPED_TRACE(format);
        Done({"export", "a.roi", "f.json", "--as", format, "--force"});
        const std::string set = std::string(format) + ".roi";
        EXPECT_EQ(Roi({"import", set, "f.json", "--as", format}).exitCode, 0);
        json listing = Listing(set);
        if (std::string(format) == "labelme") {
            listing.erase(listing.begin() + 7, listing.end());  // A shape for each run of the mask.
            listing.push_back(Listing("a.roi").back());
        }
        EXPECT_EQ(listing, Listing("a.roi"));
        EXPECT_EQ(Done({"nodes", set, "line"}), Done({"nodes", "a.roi", "line"}));
    }
}

TEST_F(Exchange, WhatOthersDrawCounts) {
    MakeFigures();
    EXPECT_TRUE(Has(Roi({"export", "a.roi", "f.geojson", "--dry-run"}).err, "slant: GeoJSON shows the outline"));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "f.geojson"));
    Done({"export", "a.roi", "f.geojson"});
    json whole = json::parse(Bytes("f.geojson"));
    json& box = whole["features"][0];
    EXPECT_EQ(box.at("geometry").at("coordinates").at(0).at(1), json({25.0, 9.0}));
    EXPECT_EQ(box.at("properties").at("name"), "box");
    for (json& position : box["geometry"]["coordinates"][0]) {
        position[0] = position[0].get<double>() + 3.25;
    }
    whole["features"][3]["properties"].erase("roiValues");
    whole["features"][4]["properties"]["roiValues"] = "others' own";
    WriteBytes("f.geojson", whole.dump());
    Done({"import", "b.roi", "f.geojson"});
    const json after = Listing("b.roi");
    EXPECT_EQ(LineOf(after[0]), "CenterX=23.75 CenterY=11 Width=8 Height=5 Angle=0 FixedAspect=0 RollGripLength=0");
    EXPECT_EQ(LineOf(after[3]), "CenterX=40.5 CenterY=15 RadiusX=9.25 RadiusY=4.5");
    EXPECT_EQ(after[4].at("class"), "ROIMask");
    EXPECT_EQ(after[4].at("holds"), "mask of 23 x 23");
}

TEST_F(Exchange, AMaskLiesWhereItIsMeasured) {
    MakeFigures();
    WriteBytes("m.pgm", "P5 8 5 255\n" + std::string(40, '\1'));
    Done({"add", "m.roi", "ROIMask", "--name", "mask", "--mask", "m.pgm", "CenterX=30.25", "CenterY=20.5", "Width=20",
          "Height=11"});
    const std::string measured = Done({"measure", "m.roi", "i.pgm", "--format", "csv", "--columns", "left,top,width"});
    EXPECT_EQ(measured, "left,top,width\n20,15,8\n");
    Done({"export", "m.roi", "m.geojson"});
    const json geometry = json::parse(Bytes("m.geojson")).at("features").at(0).at("geometry");
    EXPECT_EQ(geometry.at("coordinates").dump(), "[[[28.0,15.0],[28.0,20.0],[20.0,20.0],[20.0,15.0],[28.0,15.0]]]");
}

TEST_F(Exchange, MasksBecomePolygonsWithHolesThatTouchInCornersAlone) {
    // Two regions; the first has a hole that touches its outside in a corner, and one that touches that hole.
    WriteBytes("m.pgm", "P5 6 6 255\n" + std::string("\1\1\1\1\1\0"
                                                     "\1\0\1\1\1\0"
                                                     "\1\1\0\1\1\0"
                                                     "\1\1\1\0\1\0"
                                                     "\1\1\1\1\0\0"
                                                     "\0\0\0\0\0\1",
                                                     36));
    Done({"add", "m.roi", "ROIMask", "--name", "mask", "--mask", "m.pgm"});
    Done({"export", "m.roi", "m.geojson"});
    json whole = json::parse(Bytes("m.geojson"));
    const json polygons = whole.at("features").at(0).at("geometry").at("coordinates");
    ASSERT_EQ(polygons.size(), 2u);
    EXPECT_EQ(polygons[0].size(), 4u);
    EXPECT_EQ(polygons[0][2].dump(), "[[3.0,3.0],[3.0,2.0],[2.0,2.0],[2.0,3.0],[3.0,3.0]]");
    EXPECT_EQ(polygons[1].dump(), "[[[6.0,5.0],[6.0,6.0],[5.0,6.0],[5.0,5.0],[6.0,5.0]]]");
    whole["features"][0]["properties"].erase("roiValues");
    WriteBytes("m.geojson", whole.dump());
    Done({"import", "b.roi", "m.geojson"});
    Done({"mask", "b.roi", "mask", "-o", "b.png"});
    Done({"mask", "m.roi", "mask", "-o", "a.png"});
    EXPECT_EQ(Bytes("b.png"), Bytes("a.png"));
}

TEST_F(Exchange, CountsOfCocoComeAsListsAndAsTexts) {
    // 2 columns of 3 rows, of which (0, 1) and (1, 0) to (1, 2) are marked; then the counts 100, 40, 1000, 7 and 1853.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"[3,2]", "[1,1,1,3]", "4,0,0"},
        {"[3,2]", "\"1112\"", "4,0,0"},
        {"[50,60]", "\"T3X1Xo0oNej0\"", "47,2,0"},
    };
    for (const auto& [size, counts, expected] : cases) {
        SCOPED_TRACE(counts);
        WriteBytes("i.pgm", "P5 60 50 255\n" + std::string(3000, 'x'));
        WriteBytes("c.json", std::string(R"({"annotations":[{"segmentation":{"size":)") + size + R"(,"counts":)" +
                                 counts + "}}]}");
        Done({"import", "c.roi", "c.json"});
        EXPECT_EQ(Done({"measure", "c.roi", "i.pgm", "--format", "csv", "--columns", "pixels,left,top"}),
                  std::string("pixels,left,top\n") + expected + '\n');
        std::filesystem::remove(Folder() / "c.roi");
    }
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
