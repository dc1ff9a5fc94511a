// Saves that are killed, that find no room and that are not allowed: on disk is the old set or the new one.
#include <sys/mount.h>

#include <chrono>
#include <csignal>
#include <random>

#include "framework/support/FolderStream.h"
#include "tests/host/RunRoi.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::duration;
using std::chrono::steady_clock;

class Crash : public RoiCommand {
  protected:
    /// Makes a set of a long profile, of more than 12 KiB, and gives its bytes.
    std::string MakeSet(const std::string& set) const {
        std::mt19937 random(4);
        std::vector<std::string> command = {"add", set, "ROIProfile", "--name", "edge", "--points"};
        for (int i = 0; i < 900; ++i) {
            command.push_back(std::to_string(random() / 1e6) + "," + std::to_string(random() / 1e6));
        }
        Done(command);
        EXPECT_GT(Bytes(set).size(), 12288u);
        return Bytes(set);
    }
    /// The blocks of a set but its history, which tells the time.
    std::map<std::string, FolderArchive::Block> Figures(const std::string& set) const {
        auto blocks = FolderArchive::FromBytes(Bytes(set)).Blocks();
        blocks.erase("history.zip");
        return blocks;
    }
    static std::vector<std::string> SaveWith(const std::string& set, int thickness) {
        const std::string value = std::to_string(thickness);
        return {"set", set, "edge", "Thickness1=" + value, "Thickness2=" + value};
    }
    /// Fails to save and has the set as it was, with nothing beside it.
    void ExpectOldSet(const fs::path& set, const std::string& before, const RunResult& result, const char* why) const {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "roi: error: cannot write set: " + set.string() + ": " + why + "\n");
        EXPECT_TRUE(Bytes(set.string()) == before);
        EXPECT_EQ(FilesBeside(set), 0);
    }
    std::ptrdiff_t FilesBeside(const fs::path& set) const {
        return std::distance(fs::directory_iterator((Folder() / set).parent_path()), fs::directory_iterator()) - 1;
    }
    /// Runs `roi`, kills it after that time unless it is done by then, and tells whether it was killed.
    bool Killed(const std::vector<std::string>& arguments, duration<double> after) const {
        std::vector<std::string> command = {"/usr/bin/timeout", "--foreground", "--signal=KILL",
                                            std::to_string(after.count()), BIN_DIR "/roi"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunProgram(command, Folder()).exitCode == 128 + SIGKILL;
    }
};

TEST_F(Crash, AKilledSaveLeavesTheOldSetOrTheNewOneAndNoFilesPileUp) {
    MakeSet("a.roi");
    const auto start = steady_clock::now();
    Done(SaveWith("a.roi", 1));
    const duration<double> whole = steady_clock::now() - start;
    const auto one = Figures("a.roi");
    Done(SaveWith("a.roi", 2));
    const auto two = Figures("a.roi");
    ASSERT_NE(one, two);

    std::mt19937 random(7);
    std::uniform_real_distribution<double> part(0.3, 1.1);  // Before that, modules are being loaded.
    const auto end = steady_clock::now() + std::chrono::seconds(30);
    int killed = 0;
    int replaced = 0;
    int tries = 0;
    for (; killed < 200 && steady_clock::now() < end; ++tries) {
        const auto before = Figures("a.roi");
        killed += Killed(SaveWith("a.roi", before == one ? 2 : 1), part(random) * whole);
        const auto after = Figures("a.roi");
        ASSERT_TRUE(after == one || after == two) << tries;
        replaced += after != before;
        ASSERT_LE(FilesBeside("a.roi"), 1) << tries;
    }
    std::cout << tries << " saves, " << killed << " of them killed; " << replaced << " left the new set\n";
    EXPECT_GT(killed, 0);
    EXPECT_GT(replaced, 0);
    Done(SaveWith("a.roi", 3));
    EXPECT_EQ(FilesBeside("a.roi"), 0);
    Done({"list", "a.roi"});
}

TEST_F(Crash, AFullDiskLeavesTheOldSet) {
    // A limit on the size of files stands for the disk: 8 KiB, and no signal about it.
    const std::string before = MakeSet("a.roi");
    std::vector<std::string> command = {"/bin/bash", "-c", "trap '' XFSZ; ulimit -f 8; exec \"$@\"", "-",
                                        BIN_DIR "/roi"};
    const std::vector<std::string> save = SaveWith("a.roi", 2);
    command.insert(command.end(), save.begin(), save.end());
    ExpectOldSet("a.roi", before, RunProgram(command, Folder()), "File too large");
}

TEST_F(Crash, AFullFileSystemLeavesTheOldSet) {
    const fs::path disk = Folder() / "disk";
    fs::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=24k") != 0) {
        GTEST_SKIP() << "a file system of 24 KiB cannot be mounted here";
    }
    const std::string before = MakeSet("disk/a.roi");
    ExpectOldSet("disk/a.roi", before, Roi(SaveWith("disk/a.roi", 2)), "No space left on device");
    EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST_F(Crash, AFolderThatMayNotBeWrittenKeepsItsSet) {
    fs::create_directory(Folder() / "closed");
    const std::string before = MakeSet("closed/a.roi");
    fs::permissions(Folder() / "closed", fs::perms::owner_read | fs::perms::owner_exec);
    if (access((Folder() / "closed").c_str(), W_OK) == 0) {
        GTEST_SKIP() << "permissions do not bind this user";
    }
    ExpectOldSet("closed/a.roi", before, Roi(SaveWith("closed/a.roi", 2)), "Permission denied");
    fs::permissions(Folder() / "closed", fs::perms::owner_all);
}

}  // namespace
