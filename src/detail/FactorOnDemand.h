#ifndef KYRORVEL_DETAIL_FACTOR_ON_DEMAND_H
#define KYRORVEL_DETAIL_FACTOR_ON_DEMAND_H

#include <kyrOrvel/Orvel>

namespace kyrOrvel {
namespace detail {

/// The prologue of every solve.
template <class T> void factorOnDemand(OrvelData<T>& data)
{
    if (data.factored)
        return;
    if (data.useMultifrontal)
        Orvel::factorMF(data);
    else
        Orvel::factorSerial(data);
}

} // namespace detail
} // namespace kyrOrvel

#endif
