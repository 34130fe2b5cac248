#ifndef KYRORVEL_TESTS_SUPPORT_COMMAND_H
#define KYRORVEL_TESTS_SUPPORT_COMMAND_H

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

/// What a program left behind.
struct CommandResult {
    int exitCode = -1;     ///< or minus the number of the signal that ended it
    bool timedOut = false; ///< it was ended for taking too long
    std::string out;       ///< standard output
    std::string err;       ///< standard error
};

namespace detail {

/// Reads what there is; closes the descriptor and sets it to -1 at the end.
inline void readSome(int& descriptor, std::string& text)
{
    char buffer[4096];
    const ssize_t got = read(descriptor, buffer, sizeof buffer);
    if (got > 0) {
        text.append(buffer, static_cast<std::size_t>(got));
    } else {
        close(descriptor);
        descriptor = -1;
    }
}

/// In the child: puts the descriptors in place and becomes the program.
[[noreturn]] inline void becomeProgram(const char* program, char* const* arguments, int out,
                                       int err)
{
    const int in = open("/dev/null", O_RDONLY);
    if (in >= 0 && out >= 0 && dup2(in, 0) >= 0 && dup2(out, 1) >= 0 && dup2(err, 2) >= 0)
        execv(program, arguments);
    _exit(127);
}

} // namespace detail

/// Runs a program with a list of arguments, no shell in between, and waits for its end.
///
/// @param outputFile  where standard output goes instead of the result, unless empty
/// @param limit       a program that runs longer is killed
inline CommandResult runCommand(const std::string& program,
                                const std::vector<std::string>& arguments,
                                const std::string& outputFile = "",
                                std::chrono::seconds limit = std::chrono::seconds(60))
{
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    CommandResult result;
    int outPipe[2];
    int errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0)
        return result;
    const int out =
        outputFile.empty() ? outPipe[1] : open(outputFile.c_str(), O_WRONLY | O_CLOEXEC);
    const pid_t child = fork();
    if (child == 0)
        detail::becomeProgram(program.c_str(), argv.data(), out, errPipe[1]);
    if (out != outPipe[1])
        close(out);
    close(outPipe[1]);
    close(errPipe[1]);

    const auto deadline = std::chrono::steady_clock::now() + limit;
    pollfd streams[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    while (child > 0 && (streams[0].fd >= 0 || streams[1].fd >= 0)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            result.timedOut = true;
            kill(child, SIGKILL);
            break;
        }
        poll(streams, 2, static_cast<int>(left.count()));
        if (streams[0].fd >= 0 && streams[0].revents != 0)
            detail::readSome(streams[0].fd, result.out);
        if (streams[1].fd >= 0 && streams[1].revents != 0)
            detail::readSome(streams[1].fd, result.err);
    }
    for (const pollfd& stream : streams)
        if (stream.fd >= 0)
            close(stream.fd);
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child)
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}

} // namespace support

#endif
