#include "ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

namespace {

void check(int error, const char* what) {
    if (error != 0)
        throw std::system_error(error, std::generic_category(), what);
}

/// A file without a name. A program can write to it as much as it likes without anyone reading.
FileDescriptor memoryFile(std::string_view contents = {}) {
    FileDescriptor file(memfd_create("program", MFD_CLOEXEC));
    check(file.number() < 0 ? errno : 0, "memfd_create");
    const auto written = pwrite(file.number(), contents.data(), contents.size(), 0);
    check(written == static_cast<ssize_t>(contents.size()) ? 0 : EIO, "pwrite");
    return file;
}

std::string contentsOf(const FileDescriptor& file) {
    std::string contents;
    std::array<char, 65536> buffer{};
    ssize_t length = 0;
    while ((length = pread(file.number(), buffer.data(), buffer.size(),
                           static_cast<off_t>(contents.size()))) > 0)
        contents.append(buffer.data(), static_cast<std::size_t>(length));
    return contents;
}

FileDescriptor pipeThatNobodyReads() {
    std::array<int, 2> ends{};
    check(pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno, "pipe2");
    close(ends[0]);
    return FileDescriptor(ends[1]);
}

/// What the program is to find at its descriptors.
class FileActions {
public:
    FileActions() { check(posix_spawn_file_actions_init(&actions_), "posix_spawn"); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    const posix_spawn_file_actions_t* get() const { return &actions_; }

    void place(const FileDescriptor& file, int at) {
        check(posix_spawn_file_actions_adddup2(&actions_, file.number(), at), "posix_spawn");
    }

    /// The file behind the captured output.
    FileDescriptor arrange(Output output, int at) {
        FileDescriptor file;
        if (output == Output::captured)
            place(file = memoryFile(), at);
        else if (output == Output::brokenPipe)
            place(pipe_ = pipeThatNobodyReads(), at);
        else if (output == Output::full)
            check(posix_spawn_file_actions_addopen(&actions_, at, "/dev/full", O_WRONLY, 0),
                  "posix_spawn");
        else if (output == Output::closed)
            check(posix_spawn_file_actions_addclose(&actions_, at), "posix_spawn");
        return file;
    }

private:
    posix_spawn_file_actions_t actions_{};
    FileDescriptor pipe_;
};

/// Default signal handling, whatever the test's own is.
class Attributes {
public:
    Attributes() {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        check(posix_spawnattr_init(&attributes_), "posix_spawn");
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

std::vector<std::string> environmentOf(const Program& program) {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        if (!program.environment.contains(std::string(text.substr(0, text.find('=')))))
            environment.emplace_back(text);
    }
    for (const auto& [name, value] : program.environment) {
        if (value)
            environment.push_back(name + '=' + *value);
    }
    return environment;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ChildProcess::ChildProcess(const Program& program) {
    FileActions actions;
    const FileDescriptor input = memoryFile(program.standardInput);
    actions.place(input, STDIN_FILENO);
    output_ = actions.arrange(program.standardOutput, STDOUT_FILENO);
    error_ = actions.arrange(program.standardError, STDERR_FILENO);
    std::vector<std::string> arguments = program.arguments;
    std::vector<std::string> environment = environmentOf(program);
    check(posix_spawnp(&processIdentifier_, arguments.at(0).c_str(), actions.get(),
                       Attributes().get(), pointersTo(arguments).data(),
                       pointersTo(environment).data()),
          arguments.at(0).c_str());
}

ChildProcess::~ChildProcess() {
    kill();
}

void ChildProcess::reap(int options) {
    int status = 0;
    if (!waitStatus_ && waitpid(processIdentifier_, &status, options) == processIdentifier_)
        waitStatus_ = status;
}

bool ChildProcess::isRunning() {
    reap(WNOHANG);
    return !waitStatus_;
}

void ChildProcess::sendSignal(int number) {
    // A program that was not waited for keeps its number, so this can hit no other.
    if (isRunning())
        ::kill(processIdentifier_, number);
}

void ChildProcess::kill() {
    sendSignal(SIGKILL);
    reap(0);
}

void ChildProcess::stop() {
    sendSignal(SIGSTOP);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(processIdentifier_), &info, WSTOPPED | WEXITED | WNOWAIT);
}

ProgramResult ChildProcess::wait(std::chrono::milliseconds limit) {
    ProgramResult result;
    if (waitUntil([this] { return !isRunning(); }, limit)) {
        if (WIFEXITED(*waitStatus_))
            result.exitStatus = WEXITSTATUS(*waitStatus_);
        else
            result.signal = WTERMSIG(*waitStatus_);
    }
    kill();
    result.standardOutput = standardOutput();
    result.standardError = standardError();
    return result;
}

std::string ChildProcess::standardOutput() const {
    return contentsOf(output_);
}

std::string ChildProcess::standardError() const {
    return contentsOf(error_);
}

ProgramResult runProgram(const Program& program, std::chrono::milliseconds limit) {
    return ChildProcess(program).wait(limit);
}
