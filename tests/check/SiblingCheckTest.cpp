// `roi check --siblings` finds out siblings that are wrong in one operation each, and names it.
#include <cstdlib>

#include "tests/host/RunRoi.h"

namespace {

/// An operation that the module calls, and the group that tries it.
struct Operation {
    const char* group;
    const char* module;
    const char* where;  // class, interface and slot
    /// Faults that must be found.
    std::vector<const char*> ways;
};

const Operation kOperations[] = {
    {"descriptors",
     "CollectionsEx",
     "ComponentString IComponentString 5",
     {"pretend", "refuse", "keepCreated", "createNothing"}},
    {"descriptors", "CollectionsEx", "ComponentString IComponentString 6", {"pretend", "refuse"}},
    {"collection",
     "CollectionsEx",
     "GlobalComponentCollection IComponentCollection 4",
     {"pretend", "refuse", "keepItem"}},
    {"collection",
     "CollectionsEx",
     "GlobalComponentCollection IComponentCollection 5",
     {"pretend", "refuse", "findFirst"}},
    {"collection",
     "CollectionsEx",
     "GlobalComponentCollection IComponentCollection 16",
     {"pretend", "refuse", "crash"}},
    {"strings", "Collections", "CreatableString ICreatableString 3", {"pretend", "refuse"}},
    {"strings", "Collections", "CreatableString ICreatableString 4", {"pretend", "refuse"}},
    {"strings", "Collections", "CreatableString ICreatableString 5", {"pretend", "refuse"}},
    {"variants", "Collections", "Variant IVariant 3", {"pretend", "refuse", "hang"}},
    {"variants", "Collections", "Variant IVariant 4", {"pretend", "refuse"}},
    {"variants", "Collections", "Variant IVariant 5", {"pretend", "refuse"}},
    {"variants", "Collections", "Variant IVariant 6", {"pretend", "refuse"}},
    {"variants", "Collections", "Variant IVariant 7", {"pretend", "refuse", "storeFloat"}},
    {"variants", "Collections", "Variant IVariant 9", {"pretend", "refuse"}},
    {"variants", "Collections", "Variant IVariant 11", {"pretend", "refuse"}},
    {"variants", "Collections", "Variant IVariant 12", {"pretend", "refuse"}},
    {"lists", "Collections", "ParametersCreatable INamedCollection 4", {"pretend", "refuse", "keepItem"}},
    {"lists", "Collections", "ParametersCreatable INamedCollection 5", {"pretend", "refuse", "findFirst"}},
    {"lists", "Collections", "ParametersCreatable INamedCollection 18", {"pretend", "refuse", "keepName"}},
    {"lists", "Collections", "ParametersCreatable IDataPersist 3", {"pretend", "refuse"}},
    {"lists", "Collections", "ParametersCreatable IDataPersist 4", {"pretend", "refuse"}},
    {"pages", "Collections", "SuperCollection ISuperCollection 16", {"pretend", "refuse"}},
    {"images", "CIF", "CIFImageCANVAS ICIFImageCANVAS 3", {"pretend", "refuse"}},
    {"images", "CIF", "CIFImageCANVAS ICIFImageCANVAS 6", {"pretend", "refuse", "across"}},
    {"images", "CIF", "CIFImageCANVAS ICIFImageCANVAS 9", {"pretend", "refuse"}},
    {"drawing", "CIF", "CIFGraphics ICIFGraphics 3", {"pretend", "refuse"}},
    // The stand-in draws with 255 from the start, as all figures do.
    {"drawing", "CIF", "CIFGraphics ICIFGraphics 4", {"refuse"}},
    {"drawing", "CIF", "CIFGraphics ICIFGraphics 5", {"pretend", "shortLine"}},
    {"drawing", "CIF", "CIFGraphics ICIFGraphics 10", {"pretend", "fillCorner"}},
    {"drawing", "CIF", "CIFGraphics ICIFGraphics 11", {"pretend", "swapRadii"}},
    {"figures", "CIF", "CIFGraphics ICIFGraphics 11", {"pretend"}},
    {"figures", "Collections", "ParametersCreatable IDataPersist 3", {"pretend"}},
};

class SiblingCheck : public RoiCommand {
  protected:
    void SetUp() override {
#if defined(ROI_SANITIZE)
        GTEST_SKIP() << "bent tables are read beyond their ends, and leaks are the sanitizer's";
#endif
        RoiCommand::SetUp();
    }
    // A folder of sound siblings but for one, which is of the other kind.
    void PlaceSiblings(const std::string& bent) const {
        for (const std::string name : {"CollectionsEx", "Collections", "CIF", "ROI"}) {
            const auto file = Folder() / (name + ".so");
            std::filesystem::remove(file);
            std::filesystem::create_symlink(name == bent ? FAULTY_DIR "/faultySibling.so" : BIN_DIR "/" + name + ".so",
                                            file);
        }
    }
};

TEST_F(SiblingCheck, FindsEveryOperationThatIsWrong) {
    for (const Operation& operation : kOperations) {
        PlaceSiblings(operation.module);
        for (const std::string way : operation.ways) {
            const std::string fault = operation.module + std::string(" ") + operation.where + " " + way;
            setenv("ROI_FAULT", fault.c_str(), 1);
            const RunResult run = Roi({"check", "--siblings", ".", "--group", operation.group, "--time", "3"});
            EXPECT_EQ(run.exitCode, 1) << fault << '\n' << run.out << run.err;
            EXPECT_TRUE(Has(run.err, std::string("roi: check failed: ") + operation.group + ": ")) << fault;
        }
    }
}

TEST_F(SiblingCheck, NamesComponentSlotArgumentsAndBothValues) {
    PlaceSiblings("Collections");
    const auto failureOf = [this](const char* fault, const char* group) {
        setenv("ROI_FAULT", fault, 1);
        return Roi({"check", "--siblings", ".", "--group", group, "--time", "3"}).err;
    };
    EXPECT_TRUE(Has(failureOf("Collections Variant IVariant 7 storeFloat", "variants"),
                    "roi: check failed: variants: Variant: slot 7, IVariant::SetDouble(0.1): expected slot 4, "
                    "GetDouble() of 0.1, got 0.10000000149011612\n"));
    EXPECT_TRUE(
        Has(failureOf("Collections ParametersCreatable INamedCollection 18 crash", "lists"),
            "roi: check failed: lists: ParametersCreatable: slot 18, INamedCollection::Add(\"Radius\", a value, "
            "0, 0x0): expected a return, got signal 6"));
    EXPECT_TRUE(Has(failureOf("Collections Variant IVariant 3 hang", "variants"), "got none within 3 s\n"));
}

TEST_F(SiblingCheck, AcceptsTheProjectsOwnAndRefusesAnEmptyFolder) {
    const RunResult own = Roi({"check", "--siblings", BIN_DIR});
    EXPECT_EQ(own.exitCode, 0) << own.out << own.err;
    const RunResult none = Roi({"check", "--siblings", ".", "--group", "descriptors"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(Has(none.err, "./CollectionsEx.so loads, with \"CreateFunction\": expected a module that loads, got "));
    EXPECT_EQ(Roi({"check", "--siblings", "nowhere"}).err,
              "roi: error: cannot read siblings: nowhere: No such file or directory\n");
}

}  // namespace
