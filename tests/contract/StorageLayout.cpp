// The fields of the storage classes are their interface: names, order and widths. Everything here
// is checked by the compiler.

#include <kyr/HashTable>
#include <kyrOrvel/DenseMatrix>
#include <kyrOrvel/ScratchPad>
#include <kyrOrvel/SkeletonMatrix>
#include <kyrOrvel/SparseMatrix>

#include <cstddef>
#include <type_traits>

using kyrOrvel::DenseMatrix;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using kyrOrvel::SparseMatrix;

namespace {

constexpr std::size_t kPointer = sizeof(void*);

template <class M, class Expected> constexpr bool same = std::is_same<M, Expected>::value;

template <class C>
constexpr bool copyable = std::is_copy_constructible<C>::value || std::is_copy_assignable<C>::value;

static_assert(sizeof(unsigned int) == 4);

namespace skeleton {
using S = SkeletonMatrix;
static_assert(std::is_standard_layout<S>::value);
static_assert(offsetof(S, columnIndices) == 0);
static_assert(offsetof(S, rowStart) == kPointer);
static_assert(offsetof(S, rowAttributes) == 2 * kPointer);
static_assert(offsetof(S, entryFlags) == 3 * kPointer);
static_assert(offsetof(S, numBlockRows) == 4 * kPointer);
static_assert(offsetof(S, rowCapacity) == 4 * kPointer + 4);
static_assert(offsetof(S, entryCapacity) == 4 * kPointer + 8);
static_assert(same<decltype(S::columnIndices), unsigned int*>);
static_assert(same<decltype(S::rowStart), unsigned int*>);
static_assert(same<decltype(S::rowAttributes), unsigned int*>);
static_assert(same<decltype(S::entryFlags), unsigned char*>);
static_assert(same<decltype(S::numBlockRows), unsigned int>);
static_assert(same<decltype(S::rowCapacity), unsigned int>);
static_assert(same<decltype(S::entryCapacity), unsigned int>);
static_assert(!copyable<S>);
} // namespace skeleton

template <class T> struct SparseMatrixLayout {
    using S = SparseMatrix<T>;
    static_assert(std::is_standard_layout<S>::value);
    static_assert(offsetof(S, valueStorage) == 0);
    static_assert(offsetof(S, values) == kPointer);
    static_assert(offsetof(S, blockColumns) == 2 * kPointer);
    static_assert(offsetof(S, blockTags) == 3 * kPointer);
    static_assert(offsetof(S, blockData) == 4 * kPointer);
    static_assert(offsetof(S, rowStart) == 5 * kPointer);
    static_assert(offsetof(S, blockSizes) == 6 * kPointer);
    static_assert(offsetof(S, blockOffsets) == 7 * kPointer);
    static_assert(offsetof(S, numBlocks) == 8 * kPointer);
    static_assert(offsetof(S, numBlockRows) == 8 * kPointer + 4);
    static_assert(offsetof(S, sizeHint) == 8 * kPointer + 8);
    static_assert(offsetof(S, valueCapacity) == 8 * kPointer + 12);
    static_assert(offsetof(S, rowCapacity) == 8 * kPointer + 16);
    static_assert(offsetof(S, blockCapacity) == 8 * kPointer + 20);
    static_assert(sizeof(S) == 8 * kPointer + 24);
    static_assert(same<decltype(S::valueStorage), T*>);
    static_assert(same<decltype(S::values), T*>);
    static_assert(same<decltype(S::blockColumns), unsigned int*>);
    static_assert(same<decltype(S::blockTags), unsigned int*>);
    static_assert(same<decltype(S::blockData), T**>);
    static_assert(same<decltype(S::rowStart), unsigned int*>);
    static_assert(same<decltype(S::blockSizes), unsigned int*>);
    static_assert(same<decltype(S::blockOffsets), unsigned int*>);
    static_assert(same<decltype(S::numBlocks), unsigned int>);
    static_assert(same<decltype(S::numBlockRows), unsigned int>);
    static_assert(same<decltype(S::sizeHint), unsigned int>);
    static_assert(same<decltype(S::valueCapacity), unsigned int>);
    static_assert(same<decltype(S::rowCapacity), unsigned int>);
    static_assert(same<decltype(S::blockCapacity), unsigned int>);
    static_assert(!copyable<S>);
};
template struct SparseMatrixLayout<float>;
template struct SparseMatrixLayout<double>;

template <class T> struct ScratchLayout {
    using A = ScratchPad::Allocation<T>;
    static_assert(std::is_standard_layout<A>::value);
    static_assert(offsetof(A, raw) == 0);
    static_assert(offsetof(A, data) == kPointer);
    static_assert(offsetof(A, size) == 2 * kPointer);
    static_assert(offsetof(A, id) == 2 * kPointer + sizeof(unsigned long));
    static_assert(sizeof(A) == 2 * kPointer + 2 * sizeof(unsigned long));
    static_assert(same<decltype(A::raw), T*>);
    static_assert(same<decltype(A::data), T*>);
    static_assert(same<decltype(A::size), unsigned long>);
    static_assert(same<decltype(A::id), unsigned long>);

    using Table = kyr::HashTable<unsigned long, A, kyr::DefaultHashFunctions, kyr::ByteAllocator>;
    static_assert(std::is_standard_layout<Table>::value);
    static_assert(offsetof(Table, count) == 0);
    static_assert(offsetof(Table, bucketCount) == 4);
    static_assert(offsetof(Table, buckets) == 8);
    static_assert(offsetof(Table, buckets) < offsetof(Table, allocator));
    static_assert(offsetof(Table, allocator) < offsetof(Table, maxProbe));
    static_assert(offsetof(Table, maxProbe) < offsetof(Table, averageCount));
    static_assert(same<decltype(Table::count), unsigned int>);
    static_assert(same<decltype(Table::bucketCount), unsigned int>);
    static_assert(same<decltype(Table::buckets), typename Table::Entry*>);
    static_assert(same<decltype(Table::allocator), kyr::ByteAllocator>);
    static_assert(same<decltype(Table::maxProbe), unsigned int>);
    static_assert(same<decltype(Table::averageCount), float>);
    static_assert(!copyable<Table>);

    using E = typename Table::Entry;
    static_assert(offsetof(E, key) == 0);
    static_assert(offsetof(E, key) < offsetof(E, value));
    static_assert(offsetof(E, value) < offsetof(E, state));
    static_assert(same<decltype(E::key), unsigned long>);
    static_assert(same<decltype(E::value), A>);
    static_assert(same<decltype(E::state), int>);
};
template struct ScratchLayout<int>;
template struct ScratchLayout<unsigned char>;
template struct ScratchLayout<float>;
template struct ScratchLayout<double>;

namespace scratch {
using P = ScratchPad;
static_assert(std::is_standard_layout<P>::value);
static_assert(offsetof(P, intArrays) == 0);
static_assert(offsetof(P, intArrays) < offsetof(P, ucharArrays));
static_assert(offsetof(P, ucharArrays) < offsetof(P, floatArrays));
static_assert(offsetof(P, floatArrays) < offsetof(P, doubleArrays));
static_assert(same<decltype(P::intArrays), P::Table<int>>);
static_assert(same<decltype(P::ucharArrays), P::Table<unsigned char>>);
static_assert(same<decltype(P::floatArrays), P::Table<float>>);
static_assert(same<decltype(P::doubleArrays), P::Table<double>>);
static_assert(sizeof(P) == 4 * sizeof(P::Table<int>)); // and nothing else
static_assert(!copyable<P>);
} // namespace scratch

template <class T> struct DenseMatrixLayout {
    using D = DenseMatrix<T>;
    static_assert(std::is_standard_layout<D>::value);
    static_assert(offsetof(D, dimension) == 0);
    static_assert(offsetof(D, dimension) < offsetof(D, values));
    static_assert(offsetof(D, values) < offsetof(D, factored));
    static_assert(same<decltype(D::dimension), int>);
    static_assert(same<decltype(D::values), T*>);
    static_assert(same<decltype(D::factored), bool>);
    static_assert(!copyable<D>);
};
template struct DenseMatrixLayout<float>;
template struct DenseMatrixLayout<double>;

} // namespace
