// Running the command `roi` as a user does, and a folder for the files of one test.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

/// What a run left behind: its exit code, or minus the signal that killed it, and what it printed.
struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

inline std::string Contents(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
        text.push_back(static_cast<char>(c));
    }
    return text;
}

inline ::testing::AssertionResult Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos ? ::testing::AssertionSuccess()
                                                : ::testing::AssertionFailure() << '"' << text << "\" lacks " << part;
}
inline ::testing::AssertionResult Starts(const std::string& text, const std::string& start) {
    return text.rfind(start, 0) == 0 ? ::testing::AssertionSuccess()
                                     : ::testing::AssertionFailure() << '"' << text << "\" does not start " << start;
}

/// The parameters in a row of JSON, whose keys are in order, as the line that people get.
template <class OrderedJson>
std::string LineOf(const OrderedJson& row) {
    std::string line;
    for (const auto& [name, value] : row.at("parameters").items()) {
        const std::string text = value.dump();
        line += (line.empty() ? "" : " ") + name + '=' + text.substr(0, text.size() - (text.ends_with(".0") ? 2 : 0));
    }
    return line;
}

/// Runs a program with arguments in a directory; its standard output may be sent to a file instead.
inline RunResult RunProgram(std::vector<std::string> command, const std::filesystem::path& directory,
                            const char* outputFile = nullptr) {
    const auto closing = [](std::FILE* file) { std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(closing)> out(std::tmpfile(), closing);
    const std::unique_ptr<std::FILE, decltype(closing)> err(std::tmpfile(), closing);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int target = outputFile != nullptr ? open(outputFile, O_WRONLY) : fileno(out.get());
        if (chdir(directory.c_str()) == 0 && dup2(target, STDOUT_FILENO) >= 0 &&
            dup2(fileno(err.get()), STDERR_FILENO) >= 0) {
            execv(arguments[0], arguments.data());
        }
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Contents(out.get()), Contents(err.get())};
}

/// A test with a folder of its own, empty at the start and removed at the end, in which `roi` runs.
class RoiCommand : public ::testing::Test {
  protected:
    RoiCommand() {
        std::string name = (std::filesystem::temp_directory_path() / "roi-test-XXXXXX").string();
        m_folder = mkdtemp(name.data());
    }
    ~RoiCommand() override { std::filesystem::remove_all(m_folder); }

    const std::filesystem::path& Folder() const { return m_folder; }

    /// Runs `roi` with these arguments in the test's folder.
    RunResult Roi(const std::vector<std::string>& arguments, const char* outputFile = nullptr) const {
        std::vector<std::string> words{BIN_DIR "/roi"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return RunProgram(std::move(words), m_folder, outputFile);
    }
    /// Runs `roi` where it has to succeed and gives what it printed.
    std::string Done(std::vector<std::string> arguments) const {
        const RunResult result = Roi(std::move(arguments));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    }

    /// The bytes of a file in the test's folder; empty when there is none.
    std::string Bytes(const std::string& file) const {
        std::ifstream stream(m_folder / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    void WriteBytes(const std::string& file, const std::string& bytes) const {
        std::ofstream(m_folder / file, std::ios::binary) << bytes;
    }

  private:
    std::filesystem::path m_folder;
};
