#include "detail/FactorPath.h"

#include <atomic>
#include <initializer_list>

namespace kyrOrvel {
namespace detail {

namespace {

std::atomic<FactorPath>& chosenPath()
{
    static std::atomic<FactorPath> path(bestFactorPath());
    return path;
}

std::atomic<FactorSchedule>& chosenSchedule()
{
    static std::atomic<FactorSchedule> schedule(FactorSchedule::Automatic);
    return schedule;
}

} // namespace

bool isAvailable(FactorPath path)
{
    switch (path) {
    case FactorPath::Plain:
    case FactorPath::Baseline:
        return true;
#ifdef KYRORVEL_X86_PATHS
    case FactorPath::Avx2:
        return __builtin_cpu_supports("avx2");
    case FactorPath::Avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl");
#else
    case FactorPath::Avx2:
    case FactorPath::Avx512:
        return false;
#endif
    }
    return false;
}

FactorPath bestFactorPath()
{
    for (const FactorPath path : {FactorPath::Avx512, FactorPath::Avx2})
        if (isAvailable(path))
            return path;
    return FactorPath::Baseline;
}

void setFactorPath(FactorPath path)
{
    chosenPath() = path;
}

FactorPath factorPath()
{
    return chosenPath().load(std::memory_order_relaxed);
}

void setFactorSchedule(FactorSchedule schedule)
{
    chosenSchedule() = schedule;
}

FactorSchedule factorSchedule()
{
    return chosenSchedule().load(std::memory_order_relaxed);
}

template <class T> void (*rowFactorizer())(const RowFactorization<T>&)
{
    switch (factorPath()) {
    case FactorPath::Plain:
        return nullptr;
#ifdef KYRORVEL_X86_PATHS
    case FactorPath::Avx2:
        return factorRowsAvx2;
    case FactorPath::Avx512:
        return factorRowsAvx512;
#endif
    default:
        return factorRowsBaseline;
    }
}

template <class T> void (*panelFactorizer())(const PanelFactorization<T>&)
{
    switch (factorPath()) {
    case FactorPath::Plain:
        return nullptr;
#ifdef KYRORVEL_X86_PATHS
    case FactorPath::Avx2:
        return factorPanelsAvx2;
    case FactorPath::Avx512:
        return factorPanelsAvx512;
#endif
    default:
        return factorPanelsBaseline;
    }
}

template <class T> UpdateFront<T> frontUpdater()
{
    switch (factorPath()) {
    case FactorPath::Plain:
        return nullptr;
#ifdef KYRORVEL_X86_PATHS
    case FactorPath::Avx2:
        return updateFrontAvx2;
    case FactorPath::Avx512:
        return updateFrontAvx512;
#endif
    default:
        return updateFrontBaseline;
    }
}

template void (*rowFactorizer())(const RowFactorization<float>&);
template void (*rowFactorizer())(const RowFactorization<double>&);
template void (*panelFactorizer())(const PanelFactorization<float>&);
template void (*panelFactorizer())(const PanelFactorization<double>&);
template UpdateFront<float> frontUpdater();
template UpdateFront<double> frontUpdater();

} // namespace detail
} // namespace kyrOrvel
