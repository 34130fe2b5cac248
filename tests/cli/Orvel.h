#ifndef KYRORVEL_TESTS_CLI_ORVEL_H
#define KYRORVEL_TESTS_CLI_ORVEL_H

#include "support/Command.h"
#include "support/Files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cli {

/// The first line of every matrix file here.
constexpr char kHeader[] = "%%MatrixMarket matrix coordinate real symmetric\n";

/// [4 1; 1 3], whose solution for (6, 7) is (1, 2) without any rounding.
constexpr char kSmallMatrix[] = "%%MatrixMarket matrix coordinate real symmetric\n"
                                "2 2 3\n"
                                "1 1 4\n"
                                "2 1 1\n"
                                "2 2 3\n";

/// Runs the command; a run that does not end fails the test.
inline support::CommandResult orvel(const std::vector<std::string>& arguments,
                                    const std::string& outputFile = "")
{
    support::CommandResult result = support::runCommand(ORVEL_PROGRAM, arguments, outputFile);
    EXPECT_FALSE(result.timedOut);
    EXPECT_GE(result.exitCode, 0) << "ended by a signal: " << result.err;
    return result;
}

/// The command succeeds, silent on standard error; returns its standard output.
inline std::string expectDone(const std::vector<std::string>& arguments)
{
    const support::CommandResult result = orvel(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

/// The command fails with this exit code, says "orvel: MESSAGE" in one line and nothing else.
inline void expectFailure(const std::vector<std::string>& arguments, int exitCode,
                          const std::string& message)
{
    const support::CommandResult result = orvel(arguments);
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "orvel: " + message + "\n");
}

/// Bad input or usage.
inline void expectRefused(const std::vector<std::string>& arguments, const std::string& message)
{
    expectFailure(arguments, 2, message);
}

/// Wrong usage: what is wrong, and which help to read.
inline void expectUsageError(const std::vector<std::string>& arguments, const std::string& what,
                             const std::string& command)
{
    expectRefused(arguments, what + "; '" + command + " --help' shows the usage");
}

/// A matrix file that no subcommand reads: all refuse it alike.
inline void expectRefusedByAll(const std::string& matrix, const std::string& message)
{
    for (const char* const subcommand : {"solve", "info", "check", "bench", "plot"}) {
        SCOPED_TRACE(subcommand);
        expectRefused({subcommand, matrix}, message);
    }
}

/// The lines of a text from the one that begins with `first` on.
inline std::string linesFrom(const std::string& text, const std::string& first)
{
    const std::size_t at = text.find("\n" + first);
    EXPECT_NE(at, std::string::npos) << "'" << first << "' is missing in\n" << text;
    return at == std::string::npos ? "" : text.substr(at + 1);
}

/// The word after a name at the beginning of a line, as a number.
inline double numberAfter(const std::string& text, const std::string& name)
{
    const std::string rest = linesFrom(text, name);
    return rest.empty() ? -1 : std::stod(rest.substr(name.size()));
}

} // namespace cli

#endif
