#ifndef KYRORVEL_TESTS_CLI_PLOT_INPUT_H
#define KYRORVEL_TESTS_CLI_PLOT_INPUT_H

#include "cli/Orvel.h"

#include <cstdlib>
#include <string>

namespace cli {

/// A joint over two bodies, the joint first in the file. With the bodies first:
///
///     X . X
///     . X X
///     X X .
inline const std::string kJoint = std::string(kHeader) + "3 3 4\n2 1 1\n2 2 2\n3 1 -1\n3 3 4\n";

/// A ring of four. As numbered, L has one block more, (3, 1).
///
///     X X . X
///     X X X .
///     . X X X
///     X . X X
inline const std::string kRing = std::string(kHeader) + "4 4 8\n1 1 4\n2 2 4\n3 3 4\n4 4 4\n"
                                                        "2 1 1\n3 2 1\n4 3 1\n4 1 1\n";

/// [1 1; 1 1] by two blocks: after the first row nothing is left of the second.
inline const std::string kSingular = std::string(kHeader) + "2 2 3\n1 1 1\n2 1 1\n2 2 1\n";
constexpr char kTwoBlocks[] = "blocks 2 firstTrailing 2\n1 1\n";

/// A joint that holds nothing.
inline const std::string kLooseJoint = std::string(kHeader) + "2 2 1\n1 1 1\n";

/// A chain of n rows, each a block of its own.
inline std::string writeChain(const support::Folder& folder, unsigned int n)
{
    std::string matrix =
        kHeader + std::to_string(n) + " " + std::to_string(n) + " " + std::to_string(2 * n - 1);
    std::string blocks = "blocks " + std::to_string(n) + " firstTrailing " + std::to_string(n);
    for (unsigned int r = 1; r <= n; ++r) {
        const std::string row = "\n" + std::to_string(r) + " ";
        matrix += row + std::to_string(r) + " 4";
        if (r > 1)
            matrix += row + std::to_string(r - 1) + " 1";
        blocks += " 1";
    }
    folder.write("chain.blocks", blocks);
    return folder.write("chain.mtx", matrix);
}

/// Sets the locale that the command sees, as long as it lives.
class Locale {
public:
    explicit Locale(const char* name)
    {
        const char* const before = std::getenv("LC_ALL");
        m_wasSet = before != nullptr;
        m_before = before ? before : "";
        setenv("LC_ALL", name, 1);
    }
    ~Locale()
    {
        if (m_wasSet)
            setenv("LC_ALL", m_before.c_str(), 1);
        else
            unsetenv("LC_ALL");
    }
    Locale(const Locale&) = delete;
    Locale& operator=(const Locale&) = delete;

private:
    bool m_wasSet;
    std::string m_before;
};

} // namespace cli

#endif
