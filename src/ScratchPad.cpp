#include <kyrOrvel/ScratchPad>

#include "detail/Arrays.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <new>

namespace kyrOrvel {

namespace {

// Spare elements that leave room to round the start up to 16 bytes. The wider types share one
// count, though 4 doubles are twice what they need; existing memory budgets are built on it.
constexpr unsigned long kPadding = 4;
constexpr unsigned long kBytePadding = 15;

template <class T>
T* getArray(ScratchPad::Table<T>& table, unsigned long id, unsigned long size,
            unsigned long padding)
{
    ScratchPad::Allocation<T>* const found = table.find(id);
    if (found && found->size >= size && found->data)
        return found->data;
    if (size > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T) - padding)
        throw std::bad_array_new_length();
    if (found) {
        // Free first, to keep the peak low; the record owns nothing until it is replaced.
        delete[] found->raw;
        *found = {nullptr, nullptr, 0, id};
    }
    std::unique_ptr<T[]> block(new T[size + padding]);
    T* const data = detail::alignedTo<16>(block.get());
    table.insert(id, {block.get(), data, size, id});
    block.release();
    return data;
}

template <class T> void freeArrays(ScratchPad::Table<T>& table)
{
    for (unsigned int i = 0; i < table.bucketCount; ++i) {
        ScratchPad::Allocation<T>& record = table.buckets[i].value;
        if (table.buckets[i].state == 2) {
            delete[] record.raw;
            record = {nullptr, nullptr, 0, record.id};
        }
    }
}

} // namespace

// As deallocate(), without clearing the tables: that may allocate, and they end here anyway.
ScratchPad::~ScratchPad()
{
    freeArrays(intArrays);
    freeArrays(ucharArrays);
    freeArrays(floatArrays);
    freeArrays(doubleArrays);
}

int* ScratchPad::getIntArray(unsigned long id, unsigned long size)
{
    return getArray(intArrays, id, size, kPadding);
}

unsigned char* ScratchPad::getUCharArray(unsigned long id, unsigned long size)
{
    return getArray(ucharArrays, id, size, kBytePadding);
}

float* ScratchPad::getFloatArray(unsigned long id, unsigned long size)
{
    return getArray(floatArrays, id, size, kPadding);
}

double* ScratchPad::getDoubleArray(unsigned long id, unsigned long size)
{
    return getArray(doubleArrays, id, size, kPadding);
}

void ScratchPad::deallocate()
{
    freeArrays(intArrays);
    freeArrays(ucharArrays);
    freeArrays(floatArrays);
    freeArrays(doubleArrays);
    // Last, since a table that shrinks allocates, and may fail.
    intArrays.clear();
    ucharArrays.clear();
    floatArrays.clear();
    doubleArrays.clear();
}

} // namespace kyrOrvel
