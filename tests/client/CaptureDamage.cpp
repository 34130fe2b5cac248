#include "client/Captures.h"
#include "support/Files.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

using captures::numberAt;
using captures::putNumber;
using captures::sealed;
using captures::sectionAt;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Capture;
using kyrOrvel::client::readCapture;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeCapture;

namespace {

enum Section { kSettings, kPattern, kValues, kRightHandSide, kOutcome };

class CaptureDamage : public testing::Test {
protected:
    /// Two scalar blocks, ids, a right-hand side and a solution: some 350 bytes.
    CaptureDamage()
    {
        BlockMatrix<double> A = support::scalarMatrix<double>({{4}, {1, 0}}, 1);
        A.setId(1, 5);
        const double b[] = {6, 1};
        double x[2];
        BlockLDLT<double> solver;
        EXPECT_TRUE(solver.compute(A).ok());
        EXPECT_TRUE(solver.solve(b, x).ok());
        const std::string path = m_folder.path("whole.capture");
        EXPECT_TRUE(writeCapture(path, solver, A, b, x).ok());
        m_whole = support::contentOf(path);
        EXPECT_GT(m_whole.size(), 300u);
    }

    /// Is refused, in a message that begins with the path; returns the rest of it.
    std::string refusalOf(const std::string& bytes) const
    {
        std::filesystem::remove(m_folder.path("c.capture")); // faster than to write over it
        const std::string path = m_folder.write("c.capture", bytes);
        Capture capture;
        capture.outcome.L = 42;

        const Status status = readCapture(path, capture);

        EXPECT_EQ(status.code, StatusCode::InvalidInput) << status.message;
        EXPECT_EQ(capture.outcome.L, 42u) << "the output is left as it was";
        EXPECT_EQ(status.message.find(path + ": "), 0u) << status.message;
        return status.message.substr(path.size() + 2);
    }

    /// The file with a number replaced, `offset` bytes into a section, and the checksum to match.
    std::string with(Section section, std::size_t offset, std::size_t size,
                     std::uint64_t value) const
    {
        std::string bytes = m_whole;
        putNumber(bytes, sectionAt(bytes, section) + offset, size, value);
        return sealed(bytes);
    }

    void expectMalformed(const std::string& bytes, const std::string& why) const
    {
        EXPECT_EQ(refusalOf(bytes), "the capture cannot be used: " + why);
    }

    support::Folder m_folder;
    std::string m_whole;
};

TEST_F(CaptureDamage, WholeFileIsRead)
{
    Capture capture;

    EXPECT_TRUE(readCapture(m_folder.path("whole.capture"), capture).ok());
    EXPECT_EQ(sealed(m_whole), m_whole);
}

TEST_F(CaptureDamage, EveryTruncationIsRefused)
{
    for (std::size_t size = 0; size < m_whole.size(); ++size) {
        const std::size_t needed = size < 32 ? 32 : m_whole.size();
        ASSERT_EQ(refusalOf(m_whole.substr(0, size)), "the capture is cut off: the file has " +
                                                          std::to_string(size) + " of at least " +
                                                          std::to_string(needed) + " bytes");
    }
}

TEST_F(CaptureDamage, EveryChangedByteIsRefused)
{
    for (std::size_t place = 0; place < m_whole.size(); ++place)
        for (const int change : {1, 0x80, 0xFF}) {
            std::string bytes = m_whole;
            bytes[place] = static_cast<char>(bytes[place] ^ change);
            ASSERT_NE(refusalOf(bytes), "") << "byte " << place << ", change " << change;
        }
}

TEST_F(CaptureDamage, EveryTruncationWithAMatchingChecksumIsRefused)
{
    for (std::size_t size = 32; size < m_whole.size(); ++size)
        ASSERT_EQ(refusalOf(sealed(m_whole.substr(0, size))).find("the capture cannot be used: "),
                  0u)
            << size;
}

TEST_F(CaptureDamage, ChangedValueIsCalledDamage)
{
    std::string bytes = m_whole;
    ++bytes[sectionAt(bytes, kValues)];

    EXPECT_EQ(refusalOf(bytes), "the capture is damaged: its checksum differs");
}

TEST_F(CaptureDamage, MoreBehindTheEndIsRefused)
{
    EXPECT_EQ(refusalOf(m_whole + " "), "there is more after the " +
                                            std::to_string(m_whole.size()) +
                                            " bytes of the capture");
}

TEST_F(CaptureDamage, OtherFileIsRefused)
{
    EXPECT_EQ(refusalOf("%%MatrixMarket matrix coordinate real symmetric\n1 1 1\n1 1 1\n"),
              "not a capture: the file should begin with 'orvelcap'");
}

TEST_F(CaptureDamage, OtherVersionIsNamed)
{
    std::string bytes = m_whole;
    putNumber(bytes, 8, 4, 2);

    EXPECT_EQ(refusalOf(sealed(bytes)),
              "the capture has version 2 of the format, and this program reads version 1");
}

TEST_F(CaptureDamage, MissingFileAndFolderAreReported)
{
    Capture capture;
    const std::string folder = m_folder.path("folder");
    std::filesystem::create_directory(folder);

    EXPECT_EQ(readCapture(m_folder.path("none"), capture).message,
              m_folder.path("none") + ": No such file or directory");
    EXPECT_EQ(readCapture(folder, capture).message, folder + ": Is a directory");
}

// Files whose checksum is right and whose content is not.

TEST_F(CaptureDamage, OtherScalarSizeIsRefused)
{
    std::string bytes = m_whole;
    putNumber(bytes, 12, 4, 16);

    expectMalformed(sealed(bytes), "its scalars have 16 bytes, neither 4 nor 8");
}

TEST_F(CaptureDamage, HugeSectionIsNotTakenAtItsWord)
{
    for (int section = kSettings; section <= kOutcome; ++section) {
        std::string bytes = m_whole;
        putNumber(bytes, sectionAt(bytes, section) - 8, 8, 0xFFFFFFFFFFFFFFFFu);
        expectMalformed(sealed(bytes), "it claims 18446744073709551615 bytes in a section, which "
                                       "would not fit in");
    }
}

TEST_F(CaptureDamage, HugeNumberOfBlocksIsNotTakenAtItsWord)
{
    expectMalformed(with(kPattern, 0, 8, 0x4000000000000000u),
                    "its section 'pattern' is wrong: it claims 4611686018427387904 blocks, which "
                    "would not fit in");
}

TEST_F(CaptureDamage, HugeBlockIsNotTakenAtItsWord)
{
    expectMalformed(with(kPattern, 8, 4, 0xFFFFFFFFu),
                    "its section 'pattern' is wrong: block (0, 0) is too large for the file");
}

TEST_F(CaptureDamage, HugeNumberOfBlocksInARowIsNotTakenAtItsWord)
{
    expectMalformed(with(kPattern, 40, 8, 0xFFFFFFFFFFFFFFFFu),
                    "its section 'pattern' is wrong: it claims 18446744073709551615 blocks in a "
                    "row, which would not fit in");
}

TEST_F(CaptureDamage, BlocksAboveTheDiagonalAreRefused)
{
    expectMalformed(with(kPattern, 48, 4, 1),
                    "its section 'pattern' is wrong: the columns of block row 0 do not ascend up "
                    "to the diagonal");
}

TEST_F(CaptureDamage, FirstTrailingBeyondTheBlocksIsRefused)
{
    expectMalformed(with(kPattern, 16, 4, 3),
                    "its section 'pattern' is wrong: the first trailing block is 3, beyond 2");
}

TEST_F(CaptureDamage, LargerBlocksThanValuesAreRefused)
{
    expectMalformed(with(kPattern, 12, 4, 2), "its section 'values' is wrong: it ends too early");
}

TEST_F(CaptureDamage, SmallerBlocksThanValuesAreRefused)
{
    expectMalformed(with(kPattern, 12, 4, 0),
                    "its section 'values' is wrong: it is longer than its content");
}

TEST_F(CaptureDamage, SettingsOutOfRangeAreRefused)
{
    const std::string wrong = "its section 'settings' is wrong: ";
    expectMalformed(with(kSettings, 0, 4, 0), wrong + "the number of threads is 0");
    expectMalformed(with(kSettings, 0, 4, 256), wrong + "the number of threads is 256, beyond 255");
    expectMalformed(with(kSettings, 4, 4, 4), wrong + "the factorization is 4, beyond 3");
    expectMalformed(with(kSettings, 8, 4, 2), wrong + "the way of waiting is 2, beyond 1");
    expectMalformed(with(kSettings, 12, 4, 7), wrong + "the ordering is 7, beyond 6");
    expectMalformed(with(kSettings, 16, 4, 2), wrong + "the choice of signs is 2, beyond 1");
    expectMalformed(with(kSettings, 20, 4, 2), wrong + "the regularization is 2, beyond 1");
    expectMalformed(with(kSettings, 28, 8, 0), wrong + "the size of the cache is 0");
    expectMalformed(with(kSettings, 36, 8, 0), wrong + "the pivots' share is not between 0 and 1");
    expectMalformed(with(kSettings, 44, 8, 0xBFF0000000000000u),
                    wrong + "a compliance is negative or not finite");
    expectMalformed(with(kSettings, 52, 8, 0x1000000000000000u),
                    wrong + "it claims 1152921504606846976 compliances, which would not fit in");
    expectMalformed(with(kSettings, 60, 8, 1),
                    wrong + "it claims 1 places of an order, which would not fit in");
}

TEST_F(CaptureDamage, StatusOutOfRangeIsRefused)
{
    expectMalformed(with(kOutcome, 0, 4, 11),
                    "its section 'outcome' is wrong: the status is 11, beyond 10");
}

TEST_F(CaptureDamage, MessageWithControlCharactersIsRefused)
{
    Capture capture;
    ASSERT_TRUE(readCapture(m_folder.path("whole.capture"), capture).ok());
    capture.outcome.status.message = "two\nlines";
    const std::string path = m_folder.path("message.capture");
    ASSERT_TRUE(writeCapture(path, capture).ok());

    expectMalformed(support::contentOf(path),
                    "its section 'outcome' is wrong: the message holds control characters");
}

} // namespace
