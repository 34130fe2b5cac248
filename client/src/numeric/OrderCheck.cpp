#include "../OutOfMemory.h"
#include "../ordering/Ordering.h"
#include "MatrixPattern.h"

#include <kyrOrvelClient/Analysis>

namespace kyrOrvel {
namespace client {

template <class T>
Status checkOrder(const BlockMatrix<T>& A, const std::vector<unsigned int>& order)
{
    return guardMemory([&] {
        const MatrixPattern pattern(A);
        SkeletonMatrix skeleton;
        pattern.fillSkeleton(skeleton);
        const std::vector<unsigned char> standsAlone = pattern.standsAlone();
        const BlockGraph graph(skeleton);
        Status status = checkOrder(OrderingInput{skeleton, graph, pattern.firstTrailing(),
                                                 standsAlone, pattern.sizes(), order},
                                   order);
        if (status.block != kNone)
            status.id = A.id(status.block);
        return status;
    });
}

template Status checkOrder(const BlockMatrix<float>&, const std::vector<unsigned int>&);
template Status checkOrder(const BlockMatrix<double>&, const std::vector<unsigned int>&);

} // namespace client
} // namespace kyrOrvel
