#include "app/program.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace larkspool {

namespace {

constexpr std::chrono::minutes timeLimit{2};

/// The two ends of a channel from the program to the test.
struct Channel {
    int reading = -1;
    int writing = -1;
};

Channel makePipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("There is no pipe");
    return {ends[0], ends[1]};
}

Channel makeTerminal()
{
    const int reading = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (reading < 0 || grantpt(reading) != 0 || unlockpt(reading) != 0) throw std::runtime_error("There is no terminal");
    return {reading, open(ptsname(reading), O_RDWR | O_NOCTTY | O_CLOEXEC)};
}

std::vector<char*> pointers(std::vector<std::string>& words)
{
    std::vector<char*> result;
    for (std::string& word : words) result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> environmentOf(const ProgramRun& run)
{
    std::vector<std::string> words;
    for (char** word = environ; *word; ++word)
        if (!std::string(*word).starts_with("LARKSPOOL_HEADLESS_")) words.emplace_back(*word);
    for (const auto& [name, value] : run.environment) words.push_back(name + "=" + value);
    return words;
}

/// A write beyond the limit then fails; without the signal's being ignored it would end the process.
void limitFiles(std::size_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{.rlim_cur = bytes, .rlim_max = bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

pid_t start(const ProgramRun& run, const Channel& out, const Channel& error)
{
    const std::string program = run.program.empty() ? LARKSPOOL_PROGRAM : run.program;
    std::vector<std::string> arguments{program}, environment = environmentOf(run);
    arguments.insert(arguments.end(), run.arguments.begin(), run.arguments.end());
    const std::vector<char*> argumentPointers = pointers(arguments), environmentPointers = pointers(environment);

    const pid_t process = fork();
    if (process != 0) return process;
    if (run.largestFile) limitFiles(*run.largestFile);
    dup2(out.writing, STDOUT_FILENO);
    dup2(error.writing, STDERR_FILENO);
    if (run.workingFolder.empty() || chdir(run.workingFolder.c_str()) == 0)
        execve(program.c_str(), argumentPointers.data(), environmentPointers.data());
    _exit(127);
}

/// Appends what is there to read. False at the end of the channel.
bool readInto(std::string& text, int descriptor)
{
    std::array<char, 65536> buffer;
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) return false; // A terminal ends with an error when its last user is gone.
    text.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

} // namespace

ProgramResult runProgram(const ProgramRun& run)
{
    const Channel out = makePipe(), error = run.errorIsTerminal ? makeTerminal() : makePipe();
    const pid_t process = start(run, out, error);
    if (process < 0) throw std::runtime_error("The program cannot be started");
    close(out.writing);
    close(error.writing);

    ProgramResult result;
    const auto deadline = std::chrono::steady_clock::now() + timeLimit;
    std::array<pollfd, 2> channels{
        {{.fd = out.reading, .events = POLLIN, .revents = 0}, {.fd = error.reading, .events = POLLIN, .revents = 0}}};
    while (channels[0].fd >= 0 || channels[1].fd >= 0) {
        poll(channels.data(), channels.size(), 100);
        if (std::chrono::steady_clock::now() > deadline) kill(process, SIGKILL);
        if (channels[0].revents && !readInto(result.out, channels[0].fd)) channels[0].fd = -1;
        if (channels[1].revents) {
            if (!readInto(result.error, channels[1].fd))
                channels[1].fd = -1;
            else if (run.watch)
                run.watch(result.error, process);
        }
    }
    close(out.reading);
    close(error.reading);

    int status = 0;
    waitpid(process, &status, 0);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

} // namespace larkspool
