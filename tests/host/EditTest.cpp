// The editing commands of `roi`, run as a user runs them.
#include <algorithm>
#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "framework/support/FolderStream.h"
#include "tests/host/RunRoi.h"

namespace {

using json = nlohmann::ordered_json;

class Edit : public RoiCommand {
  protected:
    json Json(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--format", "json"});
        return json::parse(Done(std::move(arguments)));
    }
    json Listing(const std::string& set) const { return Json({"list", set}); }
    std::string Parameters(const std::string& set, std::size_t figure = 0) const {
        return LineOf(Listing(set).at(figure));
    }
    void ExpectOneLine(const RunResult& result, int exitCode, const std::string& start) const {
        EXPECT_EQ(result.exitCode, exitCode) << result.err;
        EXPECT_TRUE(Starts(result.err, "roi: error: " + start));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(result.out, "");
    }
    /// One figure of every class, each with what its class is made of.
    void AddOneOfEach(const std::string& set) const {
        cv::Mat mask(20, 30, CV_8U, cv::Scalar(0));
        mask.at<unsigned char>(3, 4) = 255;
        cv::imwrite((Folder() / "mask.png").string(), mask);
        Done({"add", set, "ROIRectangle", "--name", "box", "CenterX=239.1", "Angle=5", "FixedAspect=0.25"});
        Done({"add", set, "ROIParallelogram", "--name", "slant", "Shear=20", "Roll=-12.5", "LockA=1"});
        Done({"add", set, "ROIEllipse", "--name", "hole", "CenterX=428.5", "RadiusX=#1F", "RadiusY=1e-7"});
        Done({"add", set, "ROIDonut", "--name", "ring", "RadiusX1=66.25"});
        Done({"add", set, "ROIArcDonut", "--name", "sector", "StartAngle=30", "DeltaAngle=-45.5"});
        Done({"add", set, "ROIProfile", "--name", "edge", "Thickness1=3", "--points", "-5,1", "0.1,2", "9,9.75"});
        Done({"add", set, "ROIShape", "--name", "outline", "--points", "10.7,20.2", "3.1,5.9", "4,4"});
        Done({"add", set, "ROIMask", "--name", "Flügel 2", "CenterX=61", "Angle=7", "--mask", "mask.png"});
    }
    std::vector<std::string> FilesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

TEST_F(Edit, ClassesTellWhatTheModuleMakes) {
    const json classes = Json({"classes"});
    ASSERT_EQ(classes.size(), 8u);
    for (const json& row : classes) {
        EXPECT_TRUE(Has(row.at("interfaces"), "IObjectInfo")) << row;
        if (row.at("class") == "ROIEllipse") {
            EXPECT_EQ(LineOf(row), "CenterX=50 CenterY=50 RadiusX=30 RadiusY=30");
            EXPECT_FALSE(Has(row.at("interfaces"), "IReplicableObject"));
        }
    }
    EXPECT_TRUE(Has(Done({"classes"}), "\"Add Start=0\""));
}

TEST_F(Edit, AFolderSetKeepsEveryFigureExactly) {
    AddOneOfEach("all.roi");
    const json before = Listing("all.roi");
    std::vector<json> nodesBefore;
    for (const json& row : before) {
        nodesBefore.push_back(Json({"nodes", "all.roi", row.at("name")}));
    }
    EXPECT_EQ(LineOf(before[2]), "CenterX=428.5 CenterY=50 RadiusX=31 RadiusY=1e-07");
    EXPECT_EQ(LineOf(before[5]), "Thickness1=3 Thickness2=20");
    EXPECT_EQ(before[5].at("holds"), "3 points");
    EXPECT_EQ(before[6].at("holds"), "3 points");
    EXPECT_EQ(before[7].at("holds"), "mask of 30 x 20");
    EXPECT_TRUE(Starts(LineOf(before[7]), "CenterX=61 CenterY=9.5 Width=29 Height=19 Angle=7"));

    // Saved once more by an edit that changes nothing.
    Done({"set", "all.roi", "hole", "--rename", "hole"});
    EXPECT_EQ(Listing("all.roi"), before);
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(Json({"nodes", "all.roi", before[i].at("name")}), nodesBefore[i]) << before[i];
    }
}

TEST_F(Edit, AnXMLSetWarnsOfWhatItLosesAndKeepsTheRest) {
    AddOneOfEach("all.xml");
    const RunResult result = Roi({"set", "all.xml", "ring", "RadiusX2=91.5"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");  // Everything that XML loses was lost when it was first read back.
    const json rows = Listing("all.xml");
    EXPECT_EQ(LineOf(rows[2]), "CenterX=428.5 CenterY=50 RadiusX=31 RadiusY=1e-07");
    EXPECT_TRUE(Starts(LineOf(rows[0]), "CenterX=239.1 CenterY=50 Width=50 Height=50 Angle=5 "));
    EXPECT_TRUE(Has(LineOf(rows[3]), "RadiusX1=66.25 RadiusY1=20 RadiusX2=91.5"));
    EXPECT_TRUE(Has(LineOf(rows[4]), "DeltaAngle=-45.5"));
    EXPECT_TRUE(Has(LineOf(rows[7]), "CenterX=61"));
    EXPECT_EQ(rows[5].at("holds"), "0 points");
    for (const auto& [extra, warning] : std::map<std::vector<std::string>, std::string>{
             {{"add", "x.xml", "ROIProfile", "--name", "b", "--points", "1,2"},
              "roi: warning: b: XML does not keep the points of a profile\n"},
             {{"add", "y.xml", "ROIShape", "--name", "c", "--points", "1,2"},
              "roi: warning: c: XML does not keep the geometry of a shape\n"},
             {{"add", "z.xml", "ROIMask", "--name", "d", "--mask", "mask.png"},
              "roi: warning: d: XML does not keep the image of a mask\n"}}) {
        EXPECT_EQ(Roi(extra).err, warning);
    }
}

TEST_F(Edit, ATextInXMLIsReadAsTheNumberThatItIsOrRefused) {
    const auto read = [this](const char* type, const std::string& text) {
        WriteBytes("t.xml", std::string("<figures><figure name='f' class='") + type + "'><values><CenterX>" + text +
                                "</CenterX></values></figure></figures>");
        const RunResult result = Roi({"list", "t.xml", "--format", "json"});
        return result.exitCode == 0 ? json::parse(result.out)[0]["parameters"]["CenterX"].dump() : result.err;
    };
    for (const char* type : {"ROIRectangle", "ROIParallelogram", "ROIEllipse", "ROIDonut", "ROIArcDonut"}) {
        for (const char* text : {" 7", "7 ", "+7", "#1F", "", "1e999", "12345678901234567890x", "3,5", "0x10"}) {
            EXPECT_EQ(
                read(type, text),
                std::string("roi: error: broken set: t.xml: figure f: CenterX is not a number in plain digits: ") +
                    text + '\n');
        }
        for (const auto& [text, value] : {std::pair("3.9e1", "39.0"), {"1e5", "100000.0"}, {"-7.25", "-7.25"}}) {
            EXPECT_EQ(read(type, text), value) << type;
        }
        EXPECT_TRUE(Has(read(type, "7<!-- -->5"), "CenterX is not a number in plain digits")) << type;
    }
}

TEST_F(Edit, AValueInXMLThatAFigureWouldPassOverIsRefused) {
    struct Row {
        const char* type;
        const char* values;
        const char* why;
    };
    for (const auto& [type, values, why] :
         {Row{"ROIRectangle", "<centerx>7</centerx>", "unknown value: centerx: the nearest is CenterX"},
          Row{"ROIDonut", "<RadiusX1>7</RadiusX1><Radius1X>8</Radius1X>",
              "unknown value: Radius1X: the nearest is RadiusX1"},
          Row{"ROIEllipse", "<CenterX>7</CenterX></values><values><CenterX>8</CenterX>", "CenterX is given twice"},
          Row{"ROIShape", "<X>7</X>", "unknown value: X: there are none"}}) {
        WriteBytes("t.xml", std::string("<figures><figure name='f' class='") + type + "'><values>" + values +
                                "</values></figure></figures>");
        ExpectOneLine(Roi({"list", "t.xml"}), 1, std::string("broken set: t.xml: figure f: ") + why);
    }
}

TEST_F(Edit, SettingOneValueLeavesAllOthersAsTheyAre) {
    AddOneOfEach("all.roi");
    Done({"set", "all.roi", "box", "CenterY=20"});
    EXPECT_EQ(Parameters("all.roi", 0),
              "CenterX=239.1 CenterY=20 Width=50 Height=50 Angle=5 FixedAspect=0.25 RollGripLength=0");
    Done({"set", "all.roi", "slant", "CenterX=-7"});
    EXPECT_TRUE(Has(Parameters("all.roi", 1), "Roll=-12.5"));
    Done({"set", "all.roi", "edge", "Thickness2=4"});
    EXPECT_EQ(Parameters("all.roi", 5), "Thickness1=3 Thickness2=4");
    Done({"set", "all.roi", "edge", "Add End=1"});
    EXPECT_EQ(Listing("all.roi")[5].at("holds"), "4 points");
    Done({"set", "all.roi", "Flügel 2", "Width=12", "--rename", "list"});
    EXPECT_TRUE(Has(Parameters("all.roi", 7), "CenterX=61 CenterY=9.5 Width=12 Height=19 Angle=7"));
    Done({"remove", "all.roi", "list", "box"});
    EXPECT_EQ(Listing("all.roi").size(), 6u);
}

TEST_F(Edit, DraggingMovesNodesThroughTheModule) {
    Done({"add", "a.roi", "ROIRectangle", "--name", "box"});
    Done({"add", "a.roi", "ROIProfile", "--name", "edge", "--points", "0,0", "10,0"});
    const json moved = Json({"drag", "a.roi", "box", "4", "100,80", "--square"});
    EXPECT_EQ(moved[3], json({{"node", "4"},
                              {"meaning", "bottom right corner"},
                              {"x", 75.0},
                              {"y", 75.0},
                              {"new x", 90.0},
                              {"new y", 90.0}}));
    EXPECT_TRUE(Starts(Parameters("a.roi"), "CenterX=57.5 CenterY=57.5 Width=65 Height=65"));
    Done({"drag", "a.roi", "box", "7", "100,0", "--center"});
    EXPECT_TRUE(Starts(Parameters("a.roi"), "CenterX=57.5 CenterY=57.5 Width=85 Height=65"));
    Done({"drag", "a.roi", "edge", "4:0", "7,-5"});
    EXPECT_EQ(Parameters("a.roi", 1), "Thickness1=5 Thickness2=20");
    const json nodes = Json({"nodes", "a.roi", "edge"});
    ASSERT_EQ(nodes.size(), 9u);  // The last point starts no segment.
    EXPECT_EQ(nodes[5], json({{"node", "6:0"}, {"meaning", "segment middle"}, {"x", 5.0}, {"y", 0.0}}));
}

TEST_F(Edit, PointsOfAProfileAreEdited) {
    Done({"add", "a.roi", "ROIProfile", "--name", "p", "--points", "0,0", "10,0"});
    Done({"point", "a.roi", "p", "add", "20,0", "30,-4"});
    Done({"point", "a.roi", "p", "insert", "1", "5,5"});
    Done({"point", "a.roi", "p", "move", "4", "31,1.5"});
    Done({"point", "a.roi", "p", "remove", "0"});
    std::string points;
    for (const json& node : Json({"nodes", "a.roi", "p"})) {
        if (node.at("meaning") == "point") {
            points += node.at("x").dump() + ',' + node.at("y").dump() + ' ';
        }
    }
    EXPECT_EQ(points, "5.0,5.0 10.0,0.0 20.0,0.0 31.0,1.5 ");
}

TEST_F(Edit, AngleListsAsItIsSetAndZeroHasNoSign) {
    Done({"add", "a.roi", "ROIArcDonut", "--name", "a", "DeltaAngle=60", "StartAngle=-0", "CenterX=-0.0"});
    EXPECT_TRUE(Has(Parameters("a.roi"), "StartAngle=0 DeltaAngle=60"));
    EXPECT_FALSE(Has(Done({"list", "a.roi"}) + Done({"nodes", "a.roi", "a"}), "-0 "));
}

TEST_F(Edit, AClassThatDoesNotCopyItselfIsRebuilt) {
    AddOneOfEach("a.roi");
    EXPECT_TRUE(Has(Roi({"clone", "a.roi", "hole", "hole2"}).err, "hole2: a ROIEllipse does not copy itself"));
    EXPECT_EQ(Parameters("a.roi", 8), Parameters("a.roi", 2));
}

TEST_F(Edit, HitNamesTheFiguresThatHoldAPoint) {
    Done({"add", "a.roi", "ROIEllipse", "--name", "big", "RadiusX=60", "RadiusY=60"});
    Done({"add", "a.roi", "ROIEllipse", "--name", "left", "CenterX=-5"});
    EXPECT_EQ(Done({"hit", "a.roi", "0,50"}), "big\nleft\n");
    EXPECT_EQ(Done({"hit", "a.roi", "-12,50"}), "left\n");
    const RunResult none = Roi({"hit", "a.roi", "500,50"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out + none.err, "");
}

TEST_F(Edit, TablesComeInThreeForms) {
    Done({"add", "a.roi", "ROIEllipse", "--name", "say \"hi\", x", "RadiusY=0.1"});
    Done({"add", "a.roi", "ROIShape", "--name", "none"});
    EXPECT_EQ(Done({"list", "a.roi", "--format", "csv"}),
              "name,class,cx,cy,parameters,holds\n"
              "\"say \"\"hi\"\", x\",ROIEllipse,50,50,CenterX=50 CenterY=50 RadiusX=30 RadiusY=0.1,\n"
              "none,ROIShape,,,,\n");
    const json rows = Listing("a.roi");
    EXPECT_EQ(rows[0].at("cx"), 50.0);
    EXPECT_TRUE(rows[1].at("cx").is_null());
    EXPECT_EQ(Done({"nodes", "a.roi", "say \"hi\", x"}),
              "node  meaning    x     y\n"
              "1     centre    50  50.0\n"
              "2     x radius  80  50.0\n"
              "3     y radius  50  49.9\n");
}

struct Refusal {
    std::vector<std::string> arguments;
    int exitCode;
    std::string start;
};

TEST_F(Edit, EveryMistakeIsOneLineAndLeavesTheSetAlone) {
    AddOneOfEach("a.roi");
    WriteBytes("broken.roi", "PK\x03\x04 no archive");
    WriteBytes("broken.xml", "<figures><figure");
    WriteBytes("imagej.roi", "Iout");
    WriteBytes("-a.roi", "");
    WriteBytes("jpeg.jpg", "\xFF\xD8\xFF");
    WriteBytes("other.xml", "<shapes/>");
    WriteBytes("text.xml",
               "<figures><figure name='f' class='ROIRectangle'><v><Width>wide</Width></v></figure></figures>");
    WriteBytes("name.xml", "<figures><figure name='..' class='ROIRectangle'/></figures>");
    WriteBytes("twice.xml",
               "<figures><figure name='f' class='ROIDonut'/><figure name='f' class='ROIDonut'/></figures>");
    const std::vector<Refusal> refusals = {
        {{}, 2, "usage: roi: "},
        {{"mesure"}, 2, "unknown command: mesure: the nearest is measure"},
        {{"a\nb"}, 2, "unknown command: a\\nb: "},
        {{"list"}, 2, "usage: roi list: SET is required"},
        {{"list", "a.roi", "--format", "xls"}, 2, "usage: roi list: --format"},
        {{"list", "a.roi", "--colour"}, 2, "usage: roi list: "},
        {{"list", ""}, 2, "usage: ''"},
        {{"list", "a.png"}, 2, "unknown kind of set: a.png: "},
        {{"list", "imagej.roi"}, 1, "not a set: imagej.roi: it is a figure of ImageJ's; roi import "},
        {{"list", "-a.roi"},
         2,
         "usage: roi list: SET is required; a path that begins with a dash is written ./-a.roi; "},
        {{"list", "absent.roi"}, 1, "cannot read set: absent.roi: No such file or directory"},
        {{"list", "broken.roi"}, 1, "broken set: broken.roi: "},
        {{"list", "broken.xml"}, 1, "broken set: broken.xml: "},
        {{"list", "other.xml"}, 1, "broken set: other.xml: it has no element figures"},
        {{"list", "text.xml"}, 1, "broken set: text.xml: figure f: Width is not a number in plain digits: wide"},
        {{"list", "name.xml"}, 1, "broken set: name.xml: bad figure name: ..: "},
        {{"list", "twice.xml"}, 1, "broken set: twice.xml: name taken: f: "},
        {{"add", "a.roi", "ROIElipse", "--name", "n"}, 2, "unknown class: ROIElipse: the nearest is ROIEllipse"},
        {{"add", "a.roi", "roidonut", "--name", "n"}, 2, "unknown class: roidonut: the nearest is ROIDonut"},
        {{"add", "a.roi", "ROIDonut"}, 2, "usage: roi add: --name is required"},
        {{"add", "a.roi", "ROIDonut", "--name", "hole"}, 1, "name taken: hole: "},
        {{"add", "a.roi", "ROIDonut", "--name", "a/b"}, 2, "bad figure name: a/b: "},
        {{"add", "a.roi", "ROIDonut", "--name", "a\tb"}, 2, "bad figure name: a\\tb: "},
        {{"add", "a.roi", "ROIDonut", "--name", ".."}, 2, "bad figure name: ..: "},
        {{"add", "a.roi", "ROIDonut", "--name", "\xC3"}, 2, "bad figure name: \xC3: not UTF-8"},
        {{"add", "a.roi", "ROIDonut", "--name", std::string(201, 'n')}, 2, "bad figure name: nnn"},
        {{"add", "a.roi", "ROIDonut", "--name", "n", "--points", "1,2"}, 2, "cannot take points: ROIDonut: "},
        {{"add", "a.roi", "ROIDonut", "--name", "n", "--mask", "mask.png"}, 2, "cannot take a mask: ROIDonut: "},
        {{"add", "a.roi", "ROIMask", "--name", "n", "--mask", "a.roi"}, 1, "cannot read image: a.roi: "},
        {{"add", "a.roi", "ROIProfile", "--name", "n", "--points", "1;2"}, 2, "not a point: 1;2: "},
        {{"add", "no/folder.roi", "ROIDonut", "--name", "n"}, 1, "cannot write set: no/folder.roi: "},
        {{"set", "a.roi", "hole"}, 2, "usage: roi set: nothing to set"},
        {{"set", "a.roi", "hol", "RadiusX=3"}, 1, "unknown figure: hol: the nearest is hole"},
        {{"set", "a.roi", "hole", "RadiuX=3"}, 2, "unknown parameter: RadiuX: the nearest is RadiusX"},
        {{"set", "a.roi", "hole", "CenterX=1", "RadiusX=3mm"}, 2, "not a number: RadiusX=3mm: "},
        {{"set", "a.roi", "hole", "RadiusX=nan"}, 2, "not a number: RadiusX=nan: "},
        {{"set", "a.roi", "hole", "RadiusX=1e999"}, 2, "not a number: RadiusX=1e999: "},
        {{"set", "a.roi", "hole", "RadiusX="}, 2, "not a number: RadiusX=: "},
        {{"set", "a.roi", "hole", "RadiusX=3", "RadiusX=4"}, 2, "parameter given twice: RadiusX: "},
        {{"set", "a.roi", "ring", "RadiusY2=-4"}, 2, "negative radius: RadiusY2=-4: "},
        {{"transform", "a.roi", "--matrix", "2,3,0,4,6,0"}, 2, "not a matrix: 2,3,0,4,6,0: it is singular"},
        {{"mask", "a.roi", "hole", "-o", "no/folder.png"},
         1,
         "cannot write mask: no/folder.png: No such file or directory"},
        {{"measure", "a.roi", "mask.png", "--columns", ""}, 2, "usage: roi measure: --columns: no columns"},
        {{"add", "a.roi", "ROIMask", "--name", "n", "--mask", "jpeg.jpg"}, 2, "cannot take --mask: jpeg.jpg: a JPEG"},
        {{"undo", "broken.xml"}, 2, "no history: broken.xml: "},
        {{"set", "a.roi", "hole", "RadiusX"}, 2, "not a parameter: RadiusX: "},
        {{"set", "a.roi", "slant", "LockA=0.5"}, 2, "not a whole number: LockA=0.5: "},
        {{"set", "a.roi", "slant", "A=3"}, 2, "cannot set parameter: A: it follows"},
        {{"set", "a.roi", "edge", "Thickness1=0"}, 2, "cannot set thickness: edge: "},
        {{"set", "a.roi", "outline", "CenterX=0"}, 2, "unknown parameter: CenterX: there are none"},
        {{"set", "a.roi", "hole", "--rename", "ring"}, 1, "name taken: ring: "},
        {{"remove", "a.roi", "box", "bx"}, 1, "unknown figure: bx: the nearest is box"},
        {{"nodes", "a.roi", "x"}, 1, "unknown figure: x: the nearest is "},
        {{"drag", "a.roi", "hole", "4", "1,2"}, 2, "cannot drag node: 4: a ROIEllipse has nodes 1 to 3"},
        {{"drag", "a.roi", "hole", "two", "1,2"}, 2, "cannot drag node: two: "},
        {{"drag", "a.roi", "hole", "2", "1"}, 2, "not a point: 1: "},
        {{"drag", "a.roi", "slant", "11", "1,2", "--center"}, 2, "cannot drag node: 11: "},
        {{"drag", "a.roi", "outline", "1", "1,2"}, 2, "cannot drag node: 1: a ROIShape has no nodes"},
        {{"drag", "a.roi", "edge", "2:0", "1,2"}, 2, "cannot drag node: 2:0: corners of the outline"},
        {{"drag", "a.roi", "edge", "6:2", "1,2"}, 2, "cannot drag node: 6:2: the last point starts no segment"},
        {{"drag", "a.roi", "edge", "1:3", "1,2"}, 2, "cannot drag node: 1:3: the profile has 3 points"},
        {{"point", "a.roi", "hole", "add", "1,2"}, 2, "cannot edit points: hole: "},
        {{"point", "a.roi", "edge", "ad", "1,2"}, 2, "unknown action: ad: the nearest is add"},
        {{"point", "a.roi", "edge", "remove", "3"}, 2, "no such point: 3: the profile has 3 points"},
        {{"point", "a.roi", "edge", "insert", "-1", "1,2"}, 2, "no such point: -1: "},
        {{"point", "a.roi", "edge", "move", "0"}, 2, "usage: roi point: "},
    };
    const std::string before = Bytes("a.roi");
    const std::size_t files = FilesInFolder().size();
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(::testing::PrintToString(refusal.arguments));
        ExpectOneLine(Roi(refusal.arguments), refusal.exitCode, refusal.start);
        EXPECT_EQ(Bytes("a.roi"), before);
        EXPECT_EQ(FilesInFolder().size(), files);
    }
}

TEST_F(Edit, ADamagedArchiveIsRefusedFigureByFigure) {
    AddOneOfEach("a.roi");
    const FolderArchive whole = FolderArchive::FromBytes(Bytes("a.roi"));
    for (const auto& [path, block] : whole.Blocks()) {
        if (path == "history.zip") {
            continue;  // Whatever becomes of the changes, the figures stay.
        }
        for (const std::size_t left : {std::size_t{0}, block.size() / 2, block.size() - 1}) {
            FolderArchive damaged = whole;
            damaged.Put(path, FolderArchive::Block(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(left)));
            WriteBytes("damaged.roi", damaged.ToBytes());
            SCOPED_TRACE(path + " cut to " + std::to_string(left));
            ExpectOneLine(Roi({"list", "damaged.roi"}), 1, "broken set: damaged.roi: ");
        }
    }
}

TEST_F(Edit, OutputThatCannotBeWrittenIsAnError) {
    Done({"add", "a.roi", "ROIDonut", "--name", "ring"});
    const std::string before = Bytes("a.roi");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"list", "a.roi"}, {"--help"}, {"drag", "a.roi", "ring", "1", "9,9"}}) {
        ExpectOneLine(Roi(arguments, "/dev/full"), 1, "cannot write: standard output: No space left on device");
    }
    EXPECT_EQ(Bytes("a.roi"), before);
}

TEST_F(Edit, WorksFromAnyFolderAndThroughLinks) {
    std::filesystem::create_directory(Folder() / "sub");
    Done({"add", "sub/a.roi", "ROIDonut", "--name", "ring"});
    std::filesystem::create_symlink("sub/a.roi", Folder() / "link.roi");
    std::filesystem::permissions(Folder() / "sub/a.roi", std::filesystem::perms(0640));
    Done({"set", "link.roi", "ring", "CenterX=7"});
    EXPECT_TRUE(std::filesystem::is_symlink(Folder() / "link.roi"));
    EXPECT_EQ(std::filesystem::status(Folder() / "sub/a.roi").permissions(), std::filesystem::perms(0640));
    const std::string program = BIN_DIR "/roi";
    const RunResult above = RunProgram({program, "list", "../sub/a.roi", "--format", "csv"}, Folder() / "sub");
    EXPECT_TRUE(Has(above.out, "CenterX=7")) << above.err;
}

constexpr const char* kModules[] = {"CollectionsEx.so", "Collections.so", "CIF.so", "Geometry.so", "ROI.so"};

// Copies the program and its modules but one; gives the program's path.
std::string Install(const std::filesystem::path& bin, const std::filesystem::path& lib, const std::string& without) {
    std::filesystem::create_directories(bin);
    std::filesystem::create_directories(lib);
    std::filesystem::copy_file(BIN_DIR "/roi", bin / "roi");
    for (const char* module : kModules) {
        if (module != without) {
            std::filesystem::copy_file(std::filesystem::path(BIN_DIR) / module, lib / module);
        }
    }
    return bin / "roi";
}

TEST_F(Edit, AMissingModuleIsOneLineInTheLoadersWords) {
    for (const std::string missing : kModules) {
        const std::filesystem::path bin = Folder() / missing;
        const std::string file = bin / missing;
        ExpectOneLine(RunProgram({Install(bin, bin, missing), "classes"}, Folder()), 1,
                      "cannot load module: " + file + ": " + file + ": cannot open shared object file");
        std::filesystem::copy_file(std::filesystem::path(BIN_DIR) / missing, file);
        std::filesystem::resize_file(file, 4096);  // Its head, which says how much there is.
        ExpectOneLine(RunProgram({bin / "roi", "classes"}, Folder()), 1,
                      "cannot load module: " + file + ": the file is cut short");
    }
    // So are those that a command opens when it needs them.
    const std::filesystem::path bin = Folder() / "late";
    const std::string program = Install(bin, bin, "");
    std::filesystem::copy_file(BIN_DIR "/ImageCodecs.so", bin / "ImageCodecs.so");
    std::filesystem::resize_file(bin / "ImageCodecs.so", 4096);
    Done({"add", "a.roi", "ROIEllipse", "--name", "a"});
    WriteBytes("a.jpg", "\xFF\xD8\xFF");
    ExpectOneLine(RunProgram({program, "measure", "a.roi", "a.jpg"}, Folder()), 1,
                  "cannot load module: " + (bin / "ImageCodecs.so").string() + ": the file is cut short");
}

TEST_F(Edit, AModuleThatCrashesAsItIsOpenedIsOneLine) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "sanitizers report crashes their own way";
#endif
    Done({"add", "a.roi", "ROIEllipse", "--name", "a"});
    WriteBytes("a.pgm", "P2 1 1 255 7");
    Done({"add", "m.roi", "ROIMask", "--name", "m", "--mask", "a.pgm"});
    WriteBytes("a.jpg", "\xFF\xD8\xFF");
    const struct {
        const char* module;
        const char* where;
        const char* signal;
        const char* command;
    } cases[] = {
        {"ROI.so", "open", "Aborted", "list a.roi"},
        {"ROI.so", "stack", "Segmentation fault", "list a.roi"},
        {"ROI.so", "create", "Segmentation fault", "list a.roi"},
        {"ROI.so", "initialize", "Floating point exception", "list a.roi"},
        {"CollectionsEx.so", "open", "Aborted", "classes"},
        {"CollectionsEx.so", "create", "Segmentation fault", "classes"},
        {"Collections.so", "open", "Aborted", "list a.roi"},
        {"Collections.so", "create", "Segmentation fault", "list a.roi"},
        {"CIF.so", "open", "Aborted", "list m.roi"},
        {"CIF.so", "create", "Segmentation fault", "list m.roi"},
        {"ImageCodecs.so", "open", "Aborted", "measure a.roi a.jpg"},
    };
    for (const auto& c : cases) {
        const std::filesystem::path bin = Folder() / c.where / c.module;
        const std::string program = Install(bin, bin, c.module);
        std::filesystem::copy_file(BIN_DIR "/ImageCodecs.so", bin / "ImageCodecs.so");
        std::filesystem::copy_file(FAULTY_DIR "/crashing.so", bin / c.module,
                                   std::filesystem::copy_options::overwrite_existing);
        const RunResult result = RunProgram(
            {"/bin/sh", "-c", std::string("ROI_CRASH=") + c.where + " " + program + " " + c.command}, Folder());
        EXPECT_EQ(result.exitCode, 1) << c.module << ' ' << c.where;
        EXPECT_EQ(result.err,
                  "roi: error: cannot use module: " + (bin / c.module).string() + ": it crashed (" + c.signal + ")\n");
    }
    // Whatever else ends it does so as before: here while it waits for an image.
    const std::string waiting = "mkfifo f; " BIN_DIR "/roi measure a.roi f & exec 3>f; kill -SEGV $!; wait $!";
    EXPECT_EQ(RunProgram({"/bin/sh", "-c", waiting}, Folder()).exitCode, 128 + SIGSEGV);
}

TEST_F(Edit, ASiblingThatCreatesNothingAndSaysThatItDidHarmsNothing) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "the sound siblings' objects stay, which the sanitizer reports";
#endif
    Done({"add", "a.roi", "ROIProfile", "--name", "a", "--points", "3,4", "9,6"});
    const struct {
        const char* module;
        const char* fault;  // class and interface
        const char* command;
    } cases[] = {
        {"CollectionsEx", "ComponentString IComponentString", "list a.roi"},
        {"CollectionsEx", "GlobalComponentCollection IComponentCollection", "list a.roi"},
        {"Collections", "CreatableString ICreatableString", "list a.roi"},
        {"Collections", "ParametersCreatable INamedCollection", "list a.roi"},
        {"Collections", "Variant IVariant", "list a.roi"},
        {"CIF", "CIFImageCANVAS ICIFImageCANVAS", "mask a.roi a -o a.png"},
    };
    for (const auto& c : cases) {
        const std::filesystem::path bin = Folder() / (std::string(c.module) + c.fault);
        const std::string program = Install(bin, bin, std::string(c.module) + ".so");
        std::filesystem::copy_file(FAULTY_DIR "/faultySibling.so", bin / (std::string(c.module) + ".so"),
                                   std::filesystem::copy_options::overwrite_existing);
        const std::string fault = std::string(c.module) + ' ' + c.fault + " 3 createNothing";
        const RunResult result =
            RunProgram({"/bin/sh", "-c", "ROI_FAULT='" + fault + "' '" + program + "' " + c.command}, Folder());
        EXPECT_EQ(result.exitCode, 1) << c.fault << '\n' << result.out << result.err;
        EXPECT_TRUE(Starts(result.err, "roi: error: ")) << c.fault << '\n' << result.err;
    }
}

TEST_F(Edit, AnInstalledProgramFindsItsModules) {
    const std::string program =
        Install(Folder() / "usr/bin", (Folder() / "usr/bin" / BIN_TO_MODULES).lexically_normal(), "");
    EXPECT_TRUE(Has(RunProgram({program, "classes"}, Folder()).out, "ROIShape"));
}

TEST_F(Edit, HelpAndVersionAnswerOnStandardOutput) {
    EXPECT_TRUE(Starts(Done({"--version"}), "roi "));
    const std::string help = Done({"--help"});
    EXPECT_TRUE(Has(help, "Exit codes:"));
    for (const char* command : {"classes", "add", "set", "list", "remove", "measure", "draw", "drag", "nodes", "hit",
                                "mask", "profile", "point"}) {
        EXPECT_TRUE(Has(help, std::string("\n  ") + command + " "));
        EXPECT_TRUE(Has(Done({command, "--help"}), std::string("\n  roi ") + command));
    }
}

}  // namespace
