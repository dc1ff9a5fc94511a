// The programs for which figures are exported and from which they are imported, run on both sides.
#include <cstdlib>
#include <map>
#include <sstream>

#include "tests/host/RunRoi.h"

namespace {

const char* const kCell = IMAGES_DIR "/cell.png";

class Peers : public RoiCommand {
  protected:
    /// Runs a shell command in the test's folder and gives what it printed.
    std::string Shell(const std::string& command) const {
        const RunResult result = RunProgram({"/bin/sh", "-c", command}, Folder());
        EXPECT_EQ(result.exitCode, 0) << command << result.err;
        return result.out;
    }
    bool Has(const std::string& command) const {
        return RunProgram({"/bin/sh", "-c", command}, Folder()).exitCode == 0 && std::filesystem::exists(kCell);
    }
    /// The rows of a table, by name: pixels, mean, minimum and maximum.
    static std::map<std::string, std::vector<double>> Rows(const std::string& csv) {
        std::map<std::string, std::vector<double>> rows;
        std::istringstream lines(csv);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            std::string name;
            std::getline(fields, name, ',');
            for (std::string field; name != "name" && std::getline(fields, field, ',');) {
                rows[name].push_back(std::strtod(field.c_str(), nullptr));
            }
        }
        return rows;
    }
    std::map<std::string, std::vector<double>> Measured(const std::string& set) const {
        return Rows(Done({"measure", set, kCell, "--columns", "name,pixels,mean,min,max", "--format", "csv"}));
    }
    static void ExpectSame(const std::vector<double>& theirs, const std::vector<double>& ours) {
        ASSERT_EQ(theirs.size(), ours.size());
        for (std::size_t i = 0; i < ours.size(); ++i) {
            EXPECT_NEAR(theirs[i], ours[i], 1e-9 * ours[i]);
        }
    }
    /// Figures of every class, of which no side goes through the centre of a pixel.
    void MakeFigures() const {
        const std::vector<std::string> figures[] = {
            {"ROIRectangle", "box", "CenterX=120.3", "CenterY=111", "Width=80.2", "Height=51"},
            {"ROIRectangle", "whole", "CenterX=121", "CenterY=110.5", "Width=79", "Height=52"},
            {"ROIRectangle", "rolled", "CenterX=230", "CenterY=120", "Width=117.3", "Height=36", "Angle=25"},
            {"ROIParallelogram", "slant", "CenterX=225", "CenterY=230", "Width=112", "Height=47", "Shear=20"},
            {"ROIEllipse", "\xE5\xAD\x94", "CenterX=240.5", "CenterY=215", "RadiusX=59.25", "RadiusY=44.5"},
            {"ROIEllipse", "oval", "CenterX=244.5", "CenterY=215.5", "RadiusX=60", "RadiusY=42"},
            {"ROIDonut", "ring", "CenterX=222.3", "CenterY=224.1", "RadiusX1=25.2", "RadiusY1=35", "RadiusX2=61",
             "RadiusY2=71"},
            {"ROIArcDonut", "washer", "CenterX=140.2", "CenterY=365.1", "Radius1X=64", "Radius1Y=64", "Radius2X=104",
             "Radius2Y=104", "StartAngle=-150", "DeltaAngle=120"},
            {"ROIMask", "mask", "CenterX=130", "CenterY=120.5", "--mask", "m.pgm"},
            {"ROIShape", "shape", "--points", "33.1,44.3", "30.5,307.1", "212,140.7"},
        };
        WriteBytes("m.pgm", "P5 3 2 255\n" + std::string("\1\0\0\1\1\0", 6));
        for (std::vector<std::string> figure : figures) {
            const std::string name = figure[1];
            figure.erase(figure.begin() + 1);
            figure.insert(figure.begin(), {"add", "a.roi", "--name", name});
            Done(figure);
        }
    }
};

const std::string kImageJ =
    "java -Djava.awt.headless=true -Dfile.encoding=UTF-8 -cp /usr/share/java/ij.jar " PEERS_DIR "/ImageJPeer.java ";

TEST_F(Peers, ImageJMeasuresWhatIsExported) {
    if (!Has("command -v javac && test -e /usr/share/java/ij.jar")) {
        GTEST_SKIP() << "imagej, a Java compiler or the photographs are not installed; scripts/peers installs them";
    }
    MakeFigures();
    Done({"export", "a.roi", "a.zip"});
    const auto theirs = Rows(Shell(kImageJ + "measure a.zip " + kCell));
    const auto ours = Measured("a.roi");
    ASSERT_EQ(theirs.size(), ours.size());
    for (const auto& [name, row] : ours) {
        SCOPED_TRACE(name);
        ExpectSame(theirs.at(name), row);
    }
}

TEST_F(Peers, WhatImageJSavesIsImported) {
    if (!Has("command -v javac && test -e /usr/share/java/ij.jar")) {
        GTEST_SKIP() << "imagej, a Java compiler or the photographs are not installed; scripts/peers installs them";
    }
    Shell(kImageJ + "save s.zip");
    const RunResult import = Roi({"import", "s.roi", "s.zip"});
    EXPECT_TRUE(::Has(import.err, "polygon: its group 3 is not kept"));
    const auto theirs = Rows(Shell(kImageJ + "measure s.zip " + kCell));
    auto ours = Measured("s.roi");
    // Lines are measured otherwise there, and ovals that begin within a pixel as if they filled it.
    for (const char* name : {"box", "box of parts", "rounded", "rolled box", "rolled oval", "oval", "polygon", "traced",
                             "freehand", "composite", "points", "\xE7\xB4\xB0\xE8\x83\x9E \xF0\x9F\x94\xAC"}) {
        SCOPED_TRACE(name);
        ExpectSame(theirs.at(name), ours[name]);
    }
    const std::string listing = Done({"list", "s.roi", "--format", "csv"});
    for (const char* row :
         {"oval of parts,ROIEllipse,28.5,42.875,CenterX=28.5 CenterY=42.875 RadiusX=16.75 RadiusY=20.875",
          "line,ROIProfile,39.75,32.125,Thickness1=3.5 Thickness2=3.5,2 points", "polyline,ROIProfile,34.904",
          "freeline,ROIProfile", "angle,ROIProfile", "arrow,ROIProfile",
          "points 2,ROIRectangle,40,50,CenterX=40 CenterY=50 Width=1 Height=1"}) {
        EXPECT_TRUE(::Has(listing, row));
    }
}

TEST_F(Peers, GdalReadsAndWritesGeoJson) {
    if (!Has("command -v ogr2ogr && /usr/bin/python3 -c 'from osgeo import ogr'")) {
        GTEST_SKIP() << "gdal-bin, python3-gdal or the photographs are not installed; scripts/peers installs them";
    }
    MakeFigures();
    Done({"export", "a.roi", "a.geojson"});
    const auto areas = Rows(Shell("/usr/bin/python3 " PEERS_DIR "/gdal_areas.py a.geojson"));
    EXPECT_NEAR(areas.at("rolled")[0], 117.3 * 36, 1e-6);
    EXPECT_NEAR(areas.at("ring")[0], 3.14159265 * (61 * 71 - 25.2 * 35), 1.0);
    EXPECT_NEAR(areas.at("mask")[0], 3.0, 1e-9);
    // With what is carried, and without.
    Shell("ogr2ogr -f GeoJSON b.geojson a.geojson && ogr2ogr -f GeoJSON -select name c.geojson a.geojson");
    Done({"import", "b.roi", "b.geojson"});
    EXPECT_EQ(Done({"list", "b.roi", "--format", "csv"}), Done({"list", "a.roi", "--format", "csv"}));
    Done({"import", "c.roi", "c.geojson"});
    EXPECT_EQ(Measured("c.roi"), Measured("a.roi"));
}

TEST_F(Peers, ScikitImageReadsAndWritesLabels) {
    if (!Has("/usr/bin/python3 -c 'import skimage'")) {
        GTEST_SKIP() << "python3-skimage or the photographs are not installed; scripts/peers installs them";
    }
    MakeFigures();
    Done({"remove", "a.roi", "whole", "oval", "\xE5\xAD\x94", "mask"});  // Those that lie beneath others.
    Done({"labels", "a.roi", kCell, "-o", "l.png"});
    const std::string script = "/usr/bin/python3 " PEERS_DIR "/label_regions.py " + std::string(kCell) + " ";
    const auto theirs = Rows(Shell(script + "l.png w.png"));
    Done({"import", "l.roi", "l.png"});
    EXPECT_EQ(Measured("l.roi").size(), 6u);
    EXPECT_EQ(theirs, Measured("l.roi"));
    Done({"import", "w.roi", "w.png"});
    EXPECT_EQ(Measured("w.roi"), theirs);
}

}  // namespace
