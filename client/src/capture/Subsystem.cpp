#include "Subsystem.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

/// The new number of each block, or kNone.
std::vector<unsigned int> numbersOf(const std::vector<unsigned int>& kept, unsigned int n)
{
    std::vector<unsigned int> numbers(n, kNone);
    for (unsigned int k = 0; k < kept.size(); ++k)
        numbers[kept[k]] = k;
    return numbers;
}

template <class T>
BlockMatrix<T> submatrix(const BlockMatrix<T>& A, const std::vector<unsigned int>& kept,
                         const std::vector<unsigned int>& numbers)
{
    std::vector<unsigned int> sizes;
    sizes.reserve(kept.size());
    for (const unsigned int r : kept)
        sizes.push_back(A.blockSize(r));
    const auto ordinary = static_cast<unsigned int>(
        std::lower_bound(kept.begin(), kept.end(), A.firstTrailing()) - kept.begin());
    BlockMatrix<T> part(std::move(sizes), ordinary);
    for (unsigned int k = 0; k < kept.size(); ++k) {
        const unsigned int r = kept[k];
        for (const auto& entry : A.row(r))
            if (numbers[entry.column] != kNone)
                std::copy_n(entry.values, std::size_t(A.blockSize(r)) * A.blockSize(entry.column),
                            part.block(k, numbers[entry.column]));
        part.setId(k, A.id(r));
    }
    return part;
}

template <class T>
std::vector<T> subvector(const BlockMatrix<T>& A, const std::vector<T>& v,
                         const std::vector<unsigned int>& kept)
{
    std::vector<T> part;
    for (const unsigned int r : kept) {
        const auto begin = v.begin() + static_cast<std::ptrdiff_t>(A.blockOffset(r));
        part.insert(part.end(), begin, begin + static_cast<std::ptrdiff_t>(A.blockSize(r)));
    }
    return part;
}

/// Compliances that do not fit the trailing blocks stay, as wrong as they are.
template <class T>
std::vector<T> keptCompliances(const CapturedSystem<T>& whole,
                               const std::vector<unsigned int>& kept)
{
    const std::vector<T>& all = whole.settings.compliances;
    const unsigned int firstTrailing = whole.matrix.firstTrailing();
    if (all.size() != whole.matrix.numBlockRows() - firstTrailing)
        return all;
    std::vector<T> part;
    for (const unsigned int r : kept)
        if (r >= firstTrailing)
            part.push_back(all[r - firstTrailing]);
    return part;
}

/// An order that does not name the blocks stays, too.
std::vector<unsigned int> keptOrder(const std::vector<unsigned int>& order,
                                    const std::vector<unsigned int>& numbers)
{
    std::vector<unsigned int> part;
    for (const unsigned int block : order) {
        if (block >= numbers.size())
            return order;
        if (numbers[block] != kNone)
            part.push_back(numbers[block]);
    }
    return part;
}

} // namespace

template <class T>
CapturedSystem<T> subsystem(const CapturedSystem<T>& whole, const std::vector<unsigned int>& kept)
{
    const std::vector<unsigned int> numbers = numbersOf(kept, whole.matrix.numBlockRows());
    CapturedSystem<T> part;
    part.matrix = submatrix(whole.matrix, kept, numbers);
    part.settings = whole.settings;
    part.settings.compliances = keptCompliances(whole, kept);
    part.settings.order = keptOrder(whole.settings.order, numbers);
    part.byValues = whole.byValues;
    part.hasRightHandSide = whole.hasRightHandSide;
    if (whole.hasRightHandSide)
        part.rightHandSide = subvector(whole.matrix, whole.rightHandSide, kept);
    return part;
}

template CapturedSystem<float> subsystem(const CapturedSystem<float>&,
                                         const std::vector<unsigned int>&);
template CapturedSystem<double> subsystem(const CapturedSystem<double>&,
                                          const std::vector<unsigned int>&);

} // namespace client
} // namespace kyrOrvel
