#pragma once

#include "plugins/ktrtrace/TraceLog.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace test {

/// The trace plug-in with a state folder of its own.
class TracePlugInTest : public testing::Test {
protected:
    using Lines = std::vector<std::string>;

    Lines linesOf(const std::string& name) const {
        Lines lines;
        std::ifstream file(folder_ / name);
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// Of every file in the folder.
    std::map<std::string, Lines> allLines() const {
        std::map<std::string, Lines> all;
        for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
            if (entry.path().extension() == ".log") {
                all[entry.path().filename()] = linesOf(entry.path().filename());
            }
        }
        return all;
    }

    static mode_t modeOf(const std::filesystem::path& path) {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }

    /// Starts `work`, with its expectations, in a separate process. That process prints those that fail.
    static pid_t begin(const std::function<void()>& work) {
        const pid_t child = ::fork();
        if (child == 0) {
            work();
            ::_exit(HasFailure() ? 1 : 0);
        }
        return child;
    }

    /// Waits for a process of `begin`, and expects that nothing failed in it.
    static void expectEnd(pid_t child) {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }

    /// Matches a line with its level and its process.
    const std::regex wholeLine{
        R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}[+-]\d\d:\d\d (debug|info|warning|error) +(\d+) \S+ .*)"};

    const TemporaryFolder temporary_;
    const std::filesystem::path root_ = temporary_.path();
    const std::filesystem::path folder_ = root_ / "state" / "record-converter";
};

}  // namespace test
