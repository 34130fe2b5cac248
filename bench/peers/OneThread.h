#ifndef KYRORVEL_BENCH_ONE_THREAD_H
#define KYRORVEL_BENCH_ONE_THREAD_H

namespace bench {

/// Starts the program again, with the same arguments, in an environment that gives numerical
/// libraries one thread; returns where that is so. BLAS libraries make threads as they are loaded,
/// and OpenMP may nest: only the environment decides.
void useOneThread();

} // namespace bench

#endif
