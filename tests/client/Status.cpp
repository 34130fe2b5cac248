#include <kyrOrvelClient/Status>

#include <gtest/gtest.h>

using kyrOrvel::kNone;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::statusName;

namespace {

TEST(Status, FreshOneIsOkAndSaysNothing)
{
    const Status status;

    EXPECT_TRUE(status.ok());
    EXPECT_EQ(status.code, StatusCode::Ok);
    EXPECT_EQ(status.message, "");
    EXPECT_EQ(status.block, kNone);
    EXPECT_EQ(status.row, kNone);
}

TEST(Status, AnyOtherCodeIsNotOk)
{
    for (const StatusCode code :
         {StatusCode::Singular, StatusCode::NotFinite, StatusCode::InvalidInput,
          StatusCode::PatternMismatch, StatusCode::TooLarge, StatusCode::OutOfMemory,
          StatusCode::CallSequence}) {
        Status status;
        status.code = code;
        EXPECT_FALSE(status.ok()) << statusName(code);
    }
}

TEST(StatusName, IsTheNameOfTheCode)
{
    EXPECT_STREQ(statusName(StatusCode::Ok), "Ok");
    EXPECT_STREQ(statusName(StatusCode::Singular), "Singular");
    EXPECT_STREQ(statusName(StatusCode::NotFinite), "NotFinite");
    EXPECT_STREQ(statusName(StatusCode::InvalidInput), "InvalidInput");
    EXPECT_STREQ(statusName(StatusCode::PatternMismatch), "PatternMismatch");
    EXPECT_STREQ(statusName(StatusCode::TooLarge), "TooLarge");
    EXPECT_STREQ(statusName(StatusCode::OutOfMemory), "OutOfMemory");
    EXPECT_STREQ(statusName(StatusCode::CallSequence), "CallSequence");
}

TEST(StatusName, ForNoCodeIsUnknown)
{
    EXPECT_STREQ(statusName(static_cast<StatusCode>(1000)), "Unknown");
}

} // namespace
