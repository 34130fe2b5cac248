#include <kyrOrvel/Marks>

#include "detail/Arrays.h"

namespace kyrOrvel {

Marks::~Marks()
{
    releaseMemory();
}

void Marks::releaseMemory()
{
    detail::release(flags);
    detail::release(markedList);
}

} // namespace kyrOrvel
