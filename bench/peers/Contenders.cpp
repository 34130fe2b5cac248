#include "Solver.h"

namespace bench {

std::vector<Contender> allContenders()
{
    std::vector<Contender> all = ownContenders();
    [[maybe_unused]] const auto add = [&](std::vector<Contender> some) {
        all.insert(all.end(), some.begin(), some.end());
    };
#ifdef BENCH_HAS_EIGEN
    add(eigenContenders());
#endif
#ifdef BENCH_HAS_CHOLMOD
    add(cholmodContenders());
#endif
#ifdef BENCH_HAS_LDL
    add(ldlContenders());
#endif
#ifdef BENCH_HAS_MUMPS
    add(mumpsContenders());
#endif
    return all;
}

} // namespace bench
