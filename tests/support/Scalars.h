#ifndef KYRORVEL_TESTS_SUPPORT_SCALARS_H
#define KYRORVEL_TESTS_SUPPORT_SCALARS_H

#include <gtest/gtest.h>

namespace support {

/// The scalar types of the library, for TYPED_TEST_SUITE.
using Scalars = testing::Types<float, double>;

} // namespace support

#endif
