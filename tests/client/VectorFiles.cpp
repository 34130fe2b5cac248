#include "support/Bits.h"
#include "support/Files.h"
#include "support/Random.h"

#include <kyrOrvelClient/MatrixFiles>

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using kyrOrvel::client::readVector;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeVector;

namespace {

using Values = std::vector<double>;

class VectorFiles : public testing::Test {
protected:
    Values read(const std::string& content, unsigned int dimension) const
    {
        Values vector;
        const Status status = readVector(m_folder.write("b.mtx", content), dimension, vector);
        EXPECT_TRUE(status.ok()) << status.message;
        return vector;
    }

    void expectError(const std::string& content, unsigned int dimension, unsigned int line,
                     const std::string& what) const
    {
        const std::string path = m_folder.write("b.mtx", content);
        Values vector = {42};

        const Status status = readVector(path, dimension, vector);

        EXPECT_EQ(status.code, StatusCode::InvalidInput);
        EXPECT_EQ(status.message, path + ":" + std::to_string(line) + ": " + what);
        EXPECT_EQ(vector, Values{42});
    }

    support::Folder m_folder;
};

const std::string kHeader = "%%MatrixMarket matrix array real general\n";

TEST_F(VectorFiles, MatrixMarketArrayIsRead)
{
    EXPECT_EQ(read(kHeader + "% comment\n3 1\n1\n\n-2.5\n% c\n3e2\n", 3), (Values{1, -2.5, 300}));
    EXPECT_EQ(read("%%MatrixMarket MATRIX array integer general\r\n2 1\r\n7\r\n-8\r\n", 2),
              (Values{7, -8}));
}

TEST_F(VectorFiles, PlainNumbersAreRead)
{
    EXPECT_EQ(read("1 2\n\n\t3 +4\r\n", 4), (Values{1, 2, 3, 4}));
    EXPECT_EQ(read("5", 1), Values{5});
}

TEST_F(VectorFiles, VectorOfNoRowsIsRead)
{
    EXPECT_EQ(read("", 0), Values());
    EXPECT_EQ(read(kHeader + "0 1\n", 0), Values());
}

TEST_F(VectorFiles, HeaderOfSomethingElseIsReportedInItsLine)
{
    expectError("%%MatrixMarket matrix coordinate real symmetric\n1 1 1\n1 1 1\n", 1, 1,
                "a vector should be 'array real general', not 'coordinate real symmetric'");
    expectError("%%MatrixMarket matrix array complex general\n1 1\n1 0\n", 1, 1,
                "a vector should be 'array real general', not 'array complex general'");
    expectError("%% no header\n1\n", 1, 1,
                "not a Matrix Market file: the first line should be "
                "'%%MatrixMarket matrix array real general'");
}

TEST_F(VectorFiles, OtherSizesAreReported)
{
    expectError(kHeader + "3 1\n1\n2\n3\n", 2, 2, "the number of rows should be 2, not '3'");
    expectError(kHeader + "2 2\n1\n2\n3\n4\n", 2, 2, "the number of columns should be 1, not '2'");
    expectError(kHeader, 2, 2, "the file ends before the line with the sizes");
}

TEST_F(VectorFiles, TooFewOrTooManyValuesAreReported)
{
    expectError(kHeader + "3 1\n1\n2\n", 3, 5, "the file ends after 2 of 3 values");
    expectError(kHeader + "2 1\n1\n2\n3\n", 2, 5, "there is more after the 2 values");
    expectError("1 2\n", 3, 2, "the file ends after 2 of 3 values");
    expectError("1 2\n3\n", 2, 2, "there is more after the 2 values");
    expectError(kHeader + "2 1\n1 2\n", 2, 3, "unexpected '2' at the end of the line");
}

TEST_F(VectorFiles, ValuesThatAreNoFiniteNumbersAreReported)
{
    expectError(kHeader + "2 1\n1\nnan\n", 2, 4, "the value 'nan' is not finite");
    expectError("1\ninf\n", 2, 2, "the value 'inf' is not finite");
    expectError("1 x\n", 2, 1, "the value should be a number, not 'x'");
    expectError("%%MatrixMarket matrix array integer general\n1 1\n0.5\n", 1, 3,
                "the value '0.5' is not whole, though the header says integer");
}

TEST_F(VectorFiles, MissingFileIsReportedWithoutALine)
{
    Values vector;

    EXPECT_EQ(readVector(m_folder.path("none"), 1, vector).message,
              m_folder.path("none") + ": No such file or directory");
}

// Writing

TEST_F(VectorFiles, WrittenFileIsAMatrixMarketArray)
{
    const std::string path = m_folder.path("x.mtx");

    EXPECT_TRUE(writeVector(path, {1, -0.5, 0.1}).ok());

    EXPECT_EQ(support::contentOf(path), kHeader + "3 1\n1\n-0.5\n0.10000000000000001\n");
    EXPECT_EQ(m_folder.numFiles(), 1u) << "nothing else is left beside it";
}

TEST_F(VectorFiles, WrittenVectorIsReadBackToTheBit)
{
    using Limits = std::numeric_limits<double>;
    support::Random random(1);
    Values written = {0.0,
                      -0.0,
                      Limits::min(),
                      Limits::denorm_min(),
                      -Limits::denorm_min(),
                      Limits::max(),
                      Limits::lowest(),
                      Limits::epsilon(),
                      1.0 / 3};
    while (written.size() < 2000) {
        const std::uint64_t bits =
            (std::uint64_t(random.integer(0, 0xFFFFFFFF)) << 32) | random.integer(0, 0xFFFFFFFF);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value))
            written.push_back(value);
    }
    const std::string path = m_folder.path("x.mtx");
    ASSERT_TRUE(writeVector(path, written).ok());

    Values back;
    const Status status = readVector(path, static_cast<unsigned int>(written.size()), back);

    ASSERT_TRUE(status.ok()) << status.message;
    ASSERT_EQ(back.size(), written.size());
    EXPECT_TRUE(support::sameBits(back.data(), written.data(), written.size()));
}

TEST_F(VectorFiles, EmptyVectorIsReadBack)
{
    const std::string path = m_folder.path("x.mtx");
    ASSERT_TRUE(writeVector(path, {}).ok());
    Values back = {1};

    EXPECT_TRUE(readVector(path, 0, back).ok());

    EXPECT_TRUE(back.empty());
}

TEST_F(VectorFiles, WritingReplacesWhatWasThere)
{
    const std::string path = m_folder.write("x.mtx", "something longer than the vector\n\n\n\n");

    EXPECT_TRUE(writeVector(path, {2}).ok());

    EXPECT_EQ(support::contentOf(path), kHeader + "1 1\n2\n");
    EXPECT_EQ(m_folder.numFiles(), 1u);
}

TEST_F(VectorFiles, PathInNoFolderIsReportedAndLeavesNothing)
{
    const std::string path = m_folder.path("none/x.mtx");

    const Status status = writeVector(path, {1});

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": No such file or directory");
    EXPECT_EQ(m_folder.numFiles(), 0u);
}

TEST_F(VectorFiles, PathOfAFolderIsReportedAndLeavesNothing)
{
    const std::string path = m_folder.path("folder");
    std::filesystem::create_directory(path);

    const Status status = writeVector(path, {1});

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": Is a directory");
    EXPECT_EQ(m_folder.numFiles(), 1u);
    EXPECT_TRUE(std::filesystem::is_empty(path));
}

TEST_F(VectorFiles, LinkIsFollowed)
{
    const std::string target = m_folder.write("target", "old");
    const std::string link = m_folder.path("link");
    std::filesystem::create_symlink(target, link);

    EXPECT_TRUE(writeVector(link, {2}).ok());

    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(support::contentOf(target), kHeader + "1 1\n2\n");
    EXPECT_EQ(m_folder.numFiles(), 2u);
}

TEST_F(VectorFiles, PipeIsWrittenToAndStays)
{
    const std::string path = m_folder.path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDWR | O_NONBLOCK); // so that writing does not wait
    ASSERT_GE(reader, 0);

    const Status status = writeVector(path, {2});

    char text[100] = {};
    EXPECT_GT(::read(reader, text, sizeof text - 1), 0);
    close(reader);
    EXPECT_TRUE(status.ok()) << status.message;
    EXPECT_EQ(text, kHeader + "1 1\n2\n");
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    EXPECT_EQ(m_folder.numFiles(), 1u);
}

/// While it lives, no file of this process grows beyond a limit.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &m_before), 0);
        const rlimit limit = {bytes, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before = {};
    void (*m_handler)(int);
};

TEST_F(VectorFiles, WriteThatFailsHalfwayIsReportedAndKeepsTheOldFile)
{
    const std::string path = m_folder.write("x.mtx", "old");
    const Values large(10000, 0.1);

    Status status;
    {
        const FileSizeLimit limit(8192);
        status = writeVector(path, large);
    }

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": File too large");
    EXPECT_EQ(support::contentOf(path), "old");
    EXPECT_EQ(m_folder.numFiles(), 1u);
}

} // namespace
