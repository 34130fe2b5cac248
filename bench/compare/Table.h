#ifndef KYRORVEL_BENCH_TABLE_H
#define KYRORVEL_BENCH_TABLE_H

#include "peers/Measurement.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// An input, and what each contender made of it.
struct Row {
    std::string input;
    std::size_t scalars = 0; ///< the dimension
    std::vector<Result> results;
};

using Table = std::vector<Row>; ///< the same contenders in every row

} // namespace bench

#endif
