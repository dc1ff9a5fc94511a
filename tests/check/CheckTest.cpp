// `roi check` finds out modules that are wrong in one way each, and says so.
#include <sstream>

#include "tests/host/RunRoi.h"

namespace {

struct Faulty {
    const char* module;
    /// The group that must fail, what it must say, and a group that the fault does not touch.
    const char* group;
    const char* says;
    const char* untouched;
};

void PrintTo(const Faulty& faulty, std::ostream* out) { *out << faulty.module; }

const Faulty kFaulty[] = {
    {"swappedSlots", "slots", "slot 3 of ROIEllipse is GetBoundingSize: expected ", "pages"},
    {"wrongIdentity", "identities",
     "ROIEllipse answers alike for IROIDonut through IObjectInfo: expected E_NOINTERFACE, got S_OK", "pages"},
    {"lostCopy", "references", "using ROIRectangle leaves no object and no memory behind: expected ", "boxes"},
    {"extraReference", "identities", "ROIParallelogram is created: expected 2, got 3", "pages"},
    {"wrongCode", "rounds", "a ring is hit between its radii, ends included: expected HitTest(69, 50) of ROIDonut",
     "pages"},
    {"extraSymbol", "exports", "the module exports its two entry points and nothing else: expected ", "slots"},
    {"crash", "pages", "ROIRectangle names its property page: expected a return, got signal 11", "boxes"},
    {"hang", "masks", "expected a return, got none within 4 s", "boxes"}};

std::string LineOf(const std::string& start, const std::string& text) {
    const std::size_t at = text.find(start + ' ');
    return at != std::string::npos ? text.substr(at, text.find('\n', at) - at) : "";
}

class FaultyModule : public RoiCommand, public testing::WithParamInterface<Faulty> {};
INSTANTIATE_TEST_SUITE_P(Faults, FaultyModule, testing::ValuesIn(kFaulty),
                         [](const auto& info) { return std::string(info.param.module); });

TEST_P(FaultyModule, FailsTheGroupThatCoversItAndNoOther) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "the sanitizer has its own way with crashes, memory and exports";
#endif
    const Faulty& faulty = GetParam();
    const std::string module = std::string(FAULTY_DIR "/") + faulty.module + ".so";
    const RunResult run = Roi({"check", module, "--group", faulty.group, "--group", faulty.untouched, "--time", "4"});
    EXPECT_EQ(run.exitCode, 1) << run.err;
    EXPECT_TRUE(Has(run.err, std::string("roi: check failed: ") + faulty.group + ": "));
    EXPECT_TRUE(Has(run.err, faulty.says));
    std::istringstream lines(run.err);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 300u) << line;
    }
    EXPECT_FALSE(Has(LineOf(faulty.group, run.out), ", 0 failed")) << run.out;
    EXPECT_TRUE(Has(LineOf(faulty.untouched, run.out), ", 0 failed")) << "the rest goes on";
}

/// An operation of the module that does another thing than it should, and the group that must find it.
struct BentOperation {
    const char* group;
    const char* where;  // class, interface and slot
    const char* way;
    /// What is told of it.
    const char* says;
};

void PrintTo(const BentOperation& bent, std::ostream* out) {
    *out << bent.group << ' ' << bent.where << ' ' << bent.way;
}

const BentOperation kBent[] = {
    {"boxes", "ROIRectangle IROI 3", "swapResults", "GetBoundingSize"},
    {"boxes", "ROIRectangle IROI 10", "wider", "GetBoundingRect"},
    {"boxes", "ROIRectangle IROIRectangle 15", "swapNode", "GetCornerPoint"},
    {"boxes", "ROIRectangle IROIRectangle 17", "swapGivenNode", "GetCornerPoint(4) of ROIRectangle to give"},
    {"boxes", "ROIRectangle IROIRectangle 19", "pretend", "a fixed aspect is held while dragging"},
    {"boxes", "ROIParallelogram IROI 9", "hitContrary", "HitTest"},
    {"boxes", "ROIParallelogram IROIParallelogram 21", "swapNode", "GetCornerPoint"},
    {"boxes", "ROIParallelogram IROIParallelogram 20", "pretend", "GetCornerPoint"},
    {"boxes", "ROIMask IROI 10", "wider", "GetBoundingRect"},
    {"rounds", "ROIEllipse IROI 3", "swapResults", "GetBoundingSize"},
    {"rounds", "ROIEllipse IROIEllipse 12", "swapGivenNode", "an ellipse's node sets one radius"},
    {"rounds", "ROIDonut IROIDonut 11", "swapNode", "GetNode"},
    {"rounds", "ROIDonut IROIDonut 14", "swapGivenNode", "GetRadius"},
    {"rounds", "ROIArcDonut IROIArcDonut 15", "swapGiven", "GetLimits"},
    {"rounds", "ROIArcDonut IROI 10", "wider", "GetBoundingRect"},
    {"profiles", "ROIProfile IROI 9", "hitContrary", "HitTest"},
    {"profiles", "ROIProfile IROIProfile 11", "swapNode", "GetThickness"},
    {"profiles", "ROIProfile IROIProfile 17", "swapGivenNode", "GetPoint"},
    {"profiles", "ROIProfile IROIProfile 18", "swapGivenNode", "an inserted point takes"},
    {"profiles", "ROIProfile IROIProfile 15", "pretend", "GetNumberPoints"},
    {"transforms", "ROIRectangle IROI 6", "pretend", "Transform"},
    {"transforms", "ROIDonut IROI 7", "copySelf", "a copy of ROIDonut equals it and is independent"},
    {"transforms", "ROIProfile ITransformableObject 3", "pretend", "Transform"},
    {"references", "ROIDonut IUIPropertyPageSpecify 3", "describe", "GetPages(0) of ROIDonut keeps the descriptors"},
    {"masks", "ROIDonut IROI 8", "pretend", "mask"},
    {"masks", "ROIMask IROIMask 20", "pretend", "GetMask"},
    {"parameters", "ROIEllipse IParametricObject 3", "pretend", "parameter"},
    {"parameters", "ROIParallelogram IParametricObject 4", "pretend", "parameter"},
    {"persistence", "ROIDonut IDataPersist 3", "pretend", "ROIDonut comes back from a folder stream as it was saved"},
    {"persistence", "ROIShape IDataPersist 4", "pretend", "ROIShape takes no plain stream"},
    {"siblings", "ROIRectangle IParametricObject 3", "pretend", "ROIRectangle"},
    {"sequences", "ROIEllipse IROIEllipse 12", "crash", "signal 6"},
    {"alone", "ROIDonut IROI 8", "pretend", "GetMask of ROIDonut fails without a framework"},
};

class BentModule : public RoiCommand, public testing::WithParamInterface<BentOperation> {};
INSTANTIATE_TEST_SUITE_P(Operations, BentModule, testing::ValuesIn(kBent));

TEST_P(BentModule, FailsTheGroupThatTriesTheOperation) {
#if defined(ROI_SANITIZE)
    GTEST_SKIP() << "bent tables are read beyond their ends";
#endif
    const BentOperation& bent = GetParam();
    setenv("ROI_FAULT", (std::string("ROI ") + bent.where + ' ' + bent.way).c_str(), 1);
    const RunResult run = Roi({"check", FAULTY_DIR "/faultySibling.so", "--group", bent.group, "--time", "9"});
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_TRUE(Has(run.err, std::string("roi: check failed: ") + bent.group + ": "));
    EXPECT_TRUE(Has(run.err, bent.says));
}

class Check : public RoiCommand {};

TEST_F(Check, EndsWithItsCounts) {
    const std::string out = Done({"check", "--group", "pages"});
    EXPECT_EQ(out, "pages             45 passed, 0 failed\n45 passed, 0 failed\n");
}

TEST_F(Check, PrintsTheSeedsItUses) {
    const RunResult run = Roi({"check", "--group", "sequences", "--seed", "7", "--repeat", "3"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Has(run.err, "seeds 7 to 9"));
}

TEST_F(Check, RefusesWhatIsNoModule) {
    WriteBytes("text.so", "not a module");
    const RunResult run = Roi({"check", "text.so"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "roi: error: cannot check: text.so: no shared object for this processor\n");
    EXPECT_EQ(Roi({"check", "/dev/zero"}).exitCode, 1) << "of whatever size";
    EXPECT_EQ(Roi({"check", "nowhere.so"}).err,
              "roi: error: cannot read module: nowhere.so: No such file or directory\n");
    EXPECT_EQ(Roi({"check", "--group", "slot"}).err, "roi: error: unknown group: slot: the nearest is slots\n");
    EXPECT_EQ(Roi({"check", "--group", "slot"}).exitCode, 2);
}

}  // namespace
