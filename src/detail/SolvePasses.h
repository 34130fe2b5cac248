// The solve: both passes over all rows, for each way to read the factors. Included by
// FactorTemplates.h.

/// Asks for memory four pages further on than what is being read, or as far before it. Processors
/// look ahead on their own, but not beyond the end of a page.
template <bool Forwards> struct Prefetch {
    template <class T> void operator()(const T* values, std::size_t count) const
    {
        constexpr std::uintptr_t kDistance = 4 * 4096;
        constexpr std::size_t kLine = 64;
        const auto here = reinterpret_cast<std::uintptr_t>(values);
        const std::uintptr_t there = Forwards ? here + kDistance : here - kDistance;
        for (std::size_t offset = 0; offset < count * sizeof(T); offset += kLine)
            // By number: a pointer must not leave its array.
            __builtin_prefetch(
                reinterpret_cast<const void*>(there + offset)); // NOLINT(performance-no-int-to-ptr)
    }
};

template <class Product, class T, class Forwards, class Backwards>
void solvePasses(const SolveTask<T>& task, const SolveFactor<T>& product, Forwards forwards,
                 Backwards backwards)
{
    // Copies: for all that the compiler knows, x might be part of the task.
    T* const x = task.x;
    const SolveFactor<T> L = task.L;
    const auto readsAll = [](unsigned int) { return true; };
    for (unsigned int r = task.firstRow; r < L.numRows; ++r)
        forwardRow(L, r, x, readsAll, forwards);
    const SolveFactor<T> S = product;
    const T* const pivots = task.pivots;
    const auto tellNobody = [](unsigned int) {};
    for (unsigned int r = S.numRows; r-- > 0;)
        backwardRow<Product>(S, pivots, r, x, tellNobody, backwards);
}

template <class T> void solveRows(const SolveTask<T>& task)
{
    switch (task.reading) {
    case SolveReading::FactorAlone:
        return solvePasses<ProductOnTheWay>(task, task.L, Prefetch<true>(), Prefetch<false>());
    case SolveReading::Far:
        return solvePasses<StoredProduct>(task, task.S, Prefetch<true>(), Prefetch<false>());
    default:
        return solvePasses<StoredProduct>(task, task.S, NothingAhead(), NothingAhead());
    }
}
