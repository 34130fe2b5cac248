#ifndef KYRORVEL_DETAIL_FACTOR_ON_DEMAND_H
#define KYRORVEL_DETAIL_FACTOR_ON_DEMAND_H

#include "FatalMessages.h"

#include <kyr/Abort>
#include <kyrOrvel/Orvel>

#include <iostream>

namespace kyrOrvel {
namespace detail {

/// The prologue of every solve. A request for threads is never answered by a silent serial run.
template <class T> void factorOnDemand(OrvelData<T>& data)
{
    if (data.factored)
        return;
    if (data.useMultifrontal) {
        std::cerr << kNoMultifrontal << std::endl;
        kyr::abort();
    }
    Orvel::factorSerial(data);
}

} // namespace detail
} // namespace kyrOrvel

#endif
