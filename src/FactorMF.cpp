#include <kyrOrvel/Orvel>

#include "detail/FactorStorage.h"
#include "detail/RunOnThreads.h"

#include <boost/bind/bind.hpp>

#include <algorithm>

namespace kyrOrvel {

namespace {

constexpr char kTaskName[] = "MultiFront factor";

/// Fronts and updates are only ever added to. The schedule itself is reused from run to run.
template <class T> void resetFronts(MultifrontManager<T>& manager)
{
    std::fill_n(manager.frontStorage, manager.frontStorageSize, T(0));
    std::fill_n(manager.updateStorage, manager.updateStorageSize, T(0));
    for (unsigned int k = 0; k < manager.numNodes; ++k)
        manager.nodes[k].done = 0;
}

/// Makes the workers' arrays here, so that none of them inserts into the pad.
template <class T> void prepareScratch(OrvelData<T>& data)
{
    const unsigned long n = data.matrix.numBlockRows;
    for (unsigned int t = 0; t < std::max(data.numThreads, 1u); ++t) {
        data.scratch.getUCharArray(t, n);
        data.scratch.getIntArray(t, n + 1);
    }
}

} // namespace

template <class T> void Orvel::factorMF(OrvelData<T>& data)
{
    data.factored = 0;
    data.hasPivotScales = 0;
    data.scaledIsProduct = 0;
    detail::sizeFactors(data);
    for (unsigned int r = 0; r < data.matrix.numBlockRows; ++r)
        detail::acquireFactorRow(data, r, [](unsigned int, T*) {});
    detail::sizePivots(data);
    resetFronts(data.multifront);
    prepareScratch(data);
    MfWrapper<T> worker{&data};
    const auto conclude = [&] {
        std::fill_n(data.scaledFactor.blockTags, data.scaledFactor.numBlocks, 1u);
        data.factored = 1;
    };
    detail::runOnThreads(kTaskName, data.numThreads,
                         boost::bind(&MfWrapper<T>::doThreadedFactor, &worker), conclude);
}

template void Orvel::factorMF<float>(OrvelData<float>&);
template void Orvel::factorMF<double>(OrvelData<double>&);

} // namespace kyrOrvel
