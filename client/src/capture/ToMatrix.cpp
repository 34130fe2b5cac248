#include <kyrOrvelClient/Capture>

#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

/// The compliance of a trailing block.
template <class T> T complianceOf(const CapturedSystem<T>& system, unsigned int t)
{
    const std::size_t k = t - system.matrix.firstTrailing();
    if (system.settings.compliances.empty())
        return system.settings.compliance;
    return k < system.settings.compliances.size() ? system.settings.compliances[k] : T(0);
}

template <class T> BlockMatrix<double> inDouble(const CapturedSystem<T>& system)
{
    const BlockMatrix<T>& A = system.matrix;
    BlockMatrix<double> result(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        for (const auto& entry : A.row(r)) {
            const std::size_t size = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            double* const to = result.block(r, entry.column);
            for (std::size_t i = 0; i < size; ++i)
                to[i] = static_cast<double>(entry.values[i]);
        }
        if (A.hasIds())
            result.setId(r, A.id(r));
    }
    return result;
}

} // namespace

/// Compliances are subtracted in the system's own precision, as the solver does.
template <class T> BlockMatrix<double> factoredMatrix(const CapturedSystem<T>& system)
{
    BlockMatrix<double> result = inDouble(system);
    for (unsigned int t = result.firstTrailing(); t < result.numBlockRows(); ++t) {
        const T c = complianceOf(system, t);
        const std::size_t m = result.blockSize(t);
        if (c == 0)
            continue;
        double* const block = result.block(t, t);
        for (std::size_t i = 0; i < m; ++i)
            block[i * m + i] = static_cast<double>(static_cast<T>(block[i * m + i]) - c);
    }
    return result;
}

BlockMatrix<double> toMatrix(const Capture& capture)
{
    return std::visit([](const auto& system) { return factoredMatrix(system); }, capture.system);
}

} // namespace client
} // namespace kyrOrvel
