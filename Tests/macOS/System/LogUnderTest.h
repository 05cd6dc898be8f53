#pragma once

#include "Support/FileDescriptor.h"
#include "Support/SetVariable.h"
#include "Support/TemporaryFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

/// What is logged from now on, a line for each call: the system's log function writes each to the
/// standard error stream, too, behind the time, the program and "[NUMBERS] ".
class LogUnderTest {
public:
    LogUnderTest() : standardError_(dup(STDERR_FILENO)) {
        const FileDescriptor file(open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600));
        dup2(file.number(), STDERR_FILENO);
    }
    LogUnderTest(const LogUnderTest&) = delete;
    LogUnderTest& operator=(const LogUnderTest&) = delete;
    ~LogUnderTest() { dup2(standardError_.number(), STDERR_FILENO); }

    std::vector<std::string> lines() const {
        constexpr const char* separator = "] ";
        std::ifstream file(path_);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            const std::size_t at = line.find(separator);
            lines.push_back(at == std::string::npos ? line : line.substr(at + 2));
        }
        return lines;
    }

private:
    SetVariable always_{"CFLOG_FORCE_STDERR", "YES"};
    TemporaryFolder folder_;
    std::string path_ = (folder_.path() / "log").string();
    FileDescriptor standardError_;
};
