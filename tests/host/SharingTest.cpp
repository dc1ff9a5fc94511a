// Sets that many use at once, that are taken back, and files that must not be lost.
#include <sys/stat.h>

#include <sstream>
#include <tuple>

#include "framework/support/FolderStream.h"
#include "host/base/FolderLock.h"
#include "host/base/SafeFile.h"
#include "tests/host/RunRoi.h"

namespace {

namespace fs = std::filesystem;

class Sharing : public RoiCommand {
  protected:
    std::string Names(const std::string& set) const {
        std::string names;
        std::istringstream lines(Done({"list", set, "--format", "csv"}));
        for (std::string line; std::getline(lines, line);) {
            names += line.substr(0, line.find(',')) + ' ';
        }
        return names;
    }
    void ExpectRefused(const std::vector<std::string>& arguments, const std::string& start) const {
        const RunResult result = Roi(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.err;
        EXPECT_TRUE(Starts(result.err, "roi: error: " + start));
    }
    void MakeSetAndImage() const {
        Done({"add", "a.roi", "ROIEllipse", "--name", "spot", "CenterX=9", "CenterY=7", "RadiusX=6", "RadiusY=4"});
        WriteBytes("i.pgm", "P5 20 16 255\n" + std::string(320, '7'));
    }
};

TEST_F(Sharing, FiftyProcessesOfWhichSomeAreKilledKeepEveryEdit) {
    std::vector<pid_t> children;
    for (int i = 0; i < 50; ++i) {
        // Every fifth is killed at a moment of its own: somewhere from loading its modules to saving.
        const std::string name = "f" + std::to_string(i);
        const pid_t child = fork();
        if (child == 0) {
            const std::string kill = std::to_string(0.05 * (i + 1));
            std::vector<std::string> command = {BIN_DIR "/roi", "add", "a.roi",  "ROIDonut",
                                                "--name",       name,  "--wait", "280"};
            if (i % 5 == 0) {
                command.insert(command.begin(), {"/usr/bin/timeout", "--foreground", "--signal=KILL", kill});
            }
            _exit(RunProgram(command, Folder()).exitCode & 0xFF);
        }
        children.push_back(child);
    }
    std::vector<int> codes;
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        codes.push_back(WEXITSTATUS(status));
    }
    const std::string names = ' ' + Names("a.roi");
    for (std::size_t i = 0; i < codes.size(); ++i) {
        EXPECT_TRUE(codes[i] == 0 || i % 5 == 0) << i << ": " << codes[i];
        EXPECT_TRUE(codes[i] != 0 || Has(names, " f" + std::to_string(i) + ' '));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), fs::directory_iterator()), 1);
}

TEST_F(Sharing, WhoWaitsTooLongSaysSoAndALookNeedsNoLock) {
    MakeSetAndImage();
    const host::FolderLock lock("set", host::UserPath((Folder() / "a.roi").string()), 0.0);
    const RunResult late = Roi({"set", "a.roi", "spot", "CenterX=1", "--wait", "0.2"});
    EXPECT_EQ(late.exitCode, 1);
    EXPECT_EQ(late.err, "roi: error: set in use: a.roi: others have been editing in its folder for 0.2 s\n");
    EXPECT_EQ(Roi({"set", "a.roi", "spot", "CenterX=1", "--dry-run"}).err, "roi: dry run: changes spot\n");
    EXPECT_TRUE(Has(Done({"list", "a.roi"}), "CenterX=9 "));
}

TEST_F(Sharing, TwentyChangesAreTakenBackAndDoneAgain) {
    constexpr std::size_t kChanges = 20;
    MakeSetAndImage();
    std::vector<std::string> states = {Done({"list", "a.roi"})};
    while (states.size() <= kChanges) {
        const std::string number = std::to_string(states.size());
        const bool even = states.size() % 2 == 0;
        Done(even ? std::vector<std::string>{"set", "a.roi", "spot", "CenterX=" + number}
                  : std::vector<std::string>{"add", "a.roi", "ROIProfile", "--name", number, "--points", "1,2", "3,5"});
        states.push_back(Done({"list", "a.roi"}));
    }
    EXPECT_TRUE(Has(Done({"log", "a.roi", "--format", "csv"}), "Z,done,\"add a.roi ROIProfile --name 19 --points 1"));
    EXPECT_EQ(Roi({"undo", "a.roi", "--dry-run"}).err, "roi: dry run: changes spot\n");
    for (std::size_t i = kChanges; i > 0; --i) {
        Done({"undo", "a.roi"});
        EXPECT_EQ(Done({"list", "a.roi"}), states[i - 1]);
    }
    for (std::size_t i = 1; i <= kChanges; ++i) {
        Done({"redo", "a.roi"});
        EXPECT_EQ(Done({"list", "a.roi"}), states[i]);
    }
    EXPECT_EQ(Roi({"redo", "a.roi"}).exitCode, 1);
    // A change after a step back forgets what was taken back.
    Done({"undo", "a.roi"});
    Done({"remove", "a.roi", "19"});
    EXPECT_EQ(Roi({"redo", "a.roi"}).err, "roi: error: nothing to redo: a.roi: its history has no such change\n");
}

TEST_F(Sharing, ADamagedHistoryHarmsNothing) {
    MakeSetAndImage();
    Done({"set", "a.roi", "spot", "CenterX=5"});
    const std::string sound = Bytes("a.roi");
    const std::string listing = Done({"list", "a.roi"});
    const std::size_t start = sound.find("history.zip") + 11;
    const std::size_t end = sound.find("history.zip", sound.rfind("PK\1\2")) - 46;
    ASSERT_LT(start, end);
    for (std::size_t i = 0; i < 6; ++i) {
        std::string damaged = sound;
        damaged[start + (end - start) * i / 6] ^= 0x55;
        WriteBytes("d.roi", damaged);
        EXPECT_EQ(Done({"list", "d.roi"}), listing) << i;
        EXPECT_EQ(Roi({"undo", "d.roi"}).exitCode, 1) << i;
    }
    // Every bit of its two headers and the start of its data.
    const auto blocks = [](const std::string& bytes) {
        std::map<std::string, FolderArchive::Block> all = FolderArchive::FromBytes(bytes, "history.zip").Blocks();
        std::erase_if(all, [](const auto& entry) { return !entry.first.starts_with("figure"); });
        return all;
    };
    const auto expected = blocks(sound);
    for (std::size_t place = start - 41; place < end + 46 + 11; place = place == start + 20 ? end : place + 1) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = sound;
            damaged[place] ^= static_cast<char>(1 << bit);
            ASSERT_EQ(blocks(damaged), expected) << "byte " << place - start << " bit " << bit;
        }
    }
    EXPECT_EQ(Roi({"set", "d.roi", "spot", "CenterX=6"}).err,
              "roi: warning: d.roi: its history is damaged and begins anew\n");
    // Sound as an archive, and nonsense.
    FolderArchive archive = FolderArchive::FromBytes(sound);
    FolderArchive history =
        FolderArchive::FromBytes(std::string(archive.Find("history.zip")->begin(), archive.Find("history.zip")->end()));
    history.Put("1", *archive.Find("figures.json"));
    const std::string bytes = history.ToBytes();
    archive.Put("history.zip", FolderArchive::Block(bytes.begin(), bytes.end()));
    WriteBytes("n.roi", archive.ToBytes());
    EXPECT_EQ(Roi({"undo", "n.roi"}).exitCode, 1);
    EXPECT_EQ(Done({"list", "n.roi"}), listing);
}

TEST_F(Sharing, AnOutputReplacesNeitherAnInputNorAStrangersFile) {
    MakeSetAndImage();
    Done({"add", "a.roi", "ROIProfile", "--name", "p", "--points", "1,2", "9,5"});
    fs::create_symlink("i.pgm", Folder() / "link.png");
    fs::create_hard_link(Folder() / "a.roi", Folder() / "hard.png");
    WriteBytes("letter.png", "Dear all,");
    const std::string image = Bytes("i.pgm");
    ExpectRefused({"draw", "a.roi", "i.pgm", "-o", "link.png", "--force"}, "output is an input: link.png: ");
    ExpectRefused({"draw", "a.roi", "i.pgm:1", "-o", "link.png"}, "output is an input: link.png: ");
    ExpectRefused({"labels", "a.roi", "i.pgm", "-o", "link.png"}, "output is an input: link.png: ");
    ExpectRefused({"labels", "a.roi", "i.pgm", "-o", "letter.png"}, "another file is there: letter.png: ");
    ExpectRefused({"mask", "a.roi", "spot", "-o", "hard.png", "--force"}, "output is an input: hard.png: ");
    ExpectRefused({"profile", "a.roi", "p", "i.pgm", "-o", "link.png"}, "output is an input: link.png: ");
    ExpectRefused({"convert", "a.roi", "./a.roi"}, "output is an input: ./a.roi: ");
    ExpectRefused({"mask", "a.roi", "spot", "-o", "letter.png"}, "another file is there: letter.png: ");
    EXPECT_EQ(Bytes("letter.png"), "Dear all,");
    EXPECT_EQ(Bytes("i.pgm"), image);
    Done({"mask", "a.roi", "spot", "-o", "letter.png", "--force"});
    Done({"mask", "a.roi", "spot", "-o", "letter.png"});
}

TEST_F(Sharing, AFileKeepsItsOwnerAndWhatLiesInTheWayIsNotTouched) {
    WriteBytes("f.txt", "old");
    const std::string path = (Folder() / "f.txt").string();
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(chown(path.c_str(), 1234, 4321), 0);
    }
    ASSERT_EQ(chmod(path.c_str(), 0664), 0);
    struct stat before {};
    struct stat after {};
    stat(path.c_str(), &before);
    // The lock file of folders that cannot be locked, as a pipe and as a link, must not stop anybody either.
    mkfifo((Folder() / ".roi-lock").c_str(), 0600);
    host::WriteWholeFile("text", host::UserPath(path), "new");
    stat(path.c_str(), &after);
    EXPECT_EQ(Bytes("f.txt"), "new");
    EXPECT_EQ(std::make_tuple(after.st_uid, after.st_gid, after.st_mode),
              std::make_tuple(before.st_uid, before.st_gid, before.st_mode));
    MakeSetAndImage();
}

TEST_F(Sharing, ListsOfPathsComeInEveryForm) {
    MakeSetAndImage();
    WriteBytes("mark.txt", "\xEF\xBB\xBFi.pgm\r\n\ni.pgm");
    WriteBytes("nul.txt", std::string("i.pgm\0i.pgm\0", 12));
    const auto rows = [this](const std::string& option, const std::string& list) {
        return Done({"measure", "a.roi", option, list, "--columns", "image", "--format", "csv"});
    };
    EXPECT_EQ(rows("--from", "mark.txt"), "image\ni.pgm\ni.pgm\n");
    EXPECT_EQ(rows("--from0", "nul.txt"), "image\ni.pgm\ni.pgm\n");
    const RunResult nul = Roi({"measure", "a.roi", "--from", "nul.txt"});
    EXPECT_EQ(nul.exitCode, 1);
    EXPECT_TRUE(Starts(nul.err, "roi: error: cannot read list: nul.txt: it has a NUL in a line"));
}

}  // namespace
