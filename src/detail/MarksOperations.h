#ifndef KYRORVEL_DETAIL_MARKS_OPERATIONS_H
#define KYRORVEL_DETAIL_MARKS_OPERATIONS_H

#include <kyrOrvel/Marks>

namespace kyrOrvel {
namespace detail {

/// Makes room for indices below n. Marks that are set are lost if the arrays have to grow.
inline void growMarks(Marks& marks, unsigned int n)
{
    if (n > marks.capacity) {
        marks.releaseMemory();
        marks.capacity = 0;
        marks.numMarked = 0;
        marks.flags = new unsigned char[n]();
        marks.markedList = new unsigned int[n];
        marks.capacity = n;
    }
    marks.size = n;
}

/// Sets the flag of a clear index to a nonzero value.
inline void setMark(Marks& marks, unsigned int index, unsigned char value)
{
    marks.flags[index] = value;
    marks.markedList[marks.numMarked++] = index;
}

/// Clears every flag that is set, last set first.
inline void emptyMarks(Marks& marks)
{
    while (marks.numMarked > 0)
        marks.flags[marks.markedList[--marks.numMarked]] = 0;
}

} // namespace detail
} // namespace kyrOrvel

#endif
