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

std::atomic<SolveReading>& chosenReading()
{
    static std::atomic<SolveReading> reading(SolveReading::Automatic);
    return reading;
}

const FactorTable* tableOf(FactorPath path)
{
    switch (path) {
    case FactorPath::Plain:
        return nullptr;
#ifdef KYRORVEL_X86_PATHS
    case FactorPath::Avx2:
        return &kAvx2Table;
    case FactorPath::Avx512:
        return &kAvx512Table;
#endif
    default:
        return &kBaselineTable;
    }
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

void setSolveReading(SolveReading reading)
{
    chosenReading() = reading;
}

SolveReading solveReading()
{
    return chosenReading().load(std::memory_order_relaxed);
}

template <> const FactorFunctions<float>* factorFunctions()
{
    const FactorTable* const table = tableOf(factorPath());
    return table ? &table->ofFloat : nullptr;
}

template <> const FactorFunctions<double>* factorFunctions()
{
    const FactorTable* const table = tableOf(factorPath());
    return table ? &table->ofDouble : nullptr;
}

} // namespace detail
} // namespace kyrOrvel
