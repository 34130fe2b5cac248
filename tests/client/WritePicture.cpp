#include "support/Files.h"

#include <kyrOrvelClient/Pictures>

#include <gtest/gtest.h>

using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writePicture;

namespace {

TEST(WritePicture, BytesAreWrittenAsTheyAre)
{
    const support::Folder folder;
    const std::string bytes("\x89PNG\r\n\0\n", 9);
    EXPECT_TRUE(writePicture(folder.path("a.png"), bytes).ok());
    EXPECT_EQ(support::contentOf(folder.path("a.png")), bytes);
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(WritePicture, FileIsReplaced)
{
    const support::Folder folder;
    const std::string path = folder.write("a.png", "what was here before");
    EXPECT_TRUE(writePicture(path, "new").ok());
    EXPECT_EQ(support::contentOf(path), "new");
    EXPECT_EQ(folder.numFiles(), 1u);
}

TEST(WritePicture, MissingFolderIsInvalidInput)
{
    const support::Folder folder;
    const std::string path = folder.path("missing/a.png");
    const Status status = writePicture(path, "new");
    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, path + ": No such file or directory");
    EXPECT_EQ(folder.numFiles(), 0u);
}

} // namespace
