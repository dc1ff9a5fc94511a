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

class Check : public RoiCommand {};

TEST_F(Check, EndsWithItsCounts) {
    const std::string out = Done({"check", "--group", "pages"});
    EXPECT_EQ(out, "pages             40 passed, 0 failed\n40 passed, 0 failed\n");
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
