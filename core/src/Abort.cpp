#include <kyr/Abort>

#include <cstdlib>

namespace kyr {

void abort()
{
    std::abort();
}

} // namespace kyr
